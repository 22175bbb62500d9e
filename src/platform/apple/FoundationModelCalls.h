#ifndef QUILLET_FOUNDATION_MODEL_CALLS_H
#define QUILLET_FOUNDATION_MODEL_CALLS_H

/* Between Swift, the only language in which the system's language model can be spoken to, and the rest: plain C. */

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The texts are UTF-8 and belong to the caller. */
typedef struct QuilletModelRequest {
    const char* instructions;
    const char* prompt;
    const char* schemaName;
    const char* propertiesJson; /* an array of objects: "name", "isList", and "description" where there is one */
    bool wantsSnapshots;
} QuilletModelRequest;

typedef enum QuilletModelAnswerKind {
    QuilletModelSnapshot = 0, /* the object so far, as JSON; more is to come */
    QuilletModelReply = 1,    /* the object as JSON; the last call, as each of the following */
    QuilletModelUnavailable = 2,
    QuilletModelContextTooLong = 3,
    QuilletModelRefused = 4,
    QuilletModelUnreadable = 5,
    QuilletModelFailed = 6,
    QuilletModelCancelled = 7
} QuilletModelAnswerKind;

/* On a thread of the model's. */
typedef void (*QuilletModelAnswer)(void* context, int32_t kind, const char* text);

/* Whether this system has the model at all: opens a session on it and lets go of it. */
bool quillet_model_opens_session(void);
/* Whether it would answer now: switched on, loaded, made for this machine. */
bool quillet_model_is_ready(void);
/* Null when there is no model. The answer with the last word comes exactly once unless the result is null. */
void* quillet_model_request(const QuilletModelRequest* request, void* context, QuilletModelAnswer answer);
/* The last word then comes soon. Any thread. */
void quillet_model_cancel(void* handle);
/* After the last word. */
void quillet_model_release(void* handle);

#ifdef __cplusplus
}
#endif

#endif
