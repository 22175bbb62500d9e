// In place of FoundationModel.swift where the tools are older than the system's language model.

#include "platform/apple/FoundationModelCalls.h"

bool quillet_model_opens_session(void) { return false; }
bool quillet_model_is_ready(void) { return false; }
void* quillet_model_request(const QuilletModelRequest*, void*, QuilletModelAnswer) { return nullptr; }
void quillet_model_cancel(void*) {}
void quillet_model_release(void*) {}
