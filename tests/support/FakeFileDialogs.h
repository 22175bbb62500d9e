#pragma once

#include "platform/FileDialogs.h"
#include "support/MainThread.h"

#include <utility>
#include <vector>

namespace quillet::test {

/// Answers with what the test says, when the event loop comes round.
struct FakeFileDialogs final : FileDialogs {
    FileAnswer given;
    std::vector<FileQuestion> asked;

    void ask(const FileQuestion& question, QWindow*, std::function<void(const FileAnswer&)> answer) override {
        asked.push_back(question);
        MainThread::post([answer = std::move(answer), given = given] { answer(given); });
    }
};

} // namespace quillet::test
