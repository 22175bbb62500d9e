#pragma once

#include "platform/NotesApplication.h"
#include "support/MainThread.h"

#include <atomic>
#include <functional>
#include <semaphore>

namespace quillet::test {

/// A notes application that answers as told, from whichever thread, and counts what it is asked.
class FakeNotesApplication final : public NotesApplication {
public:
    enum class Call { None, Probe, Request, Folders };
    /// The next such call enters, and stays until it may go on.
    void hold(Call call) { m_held = call; }
    std::counting_semaphore<> entered{0};
    std::counting_semaphore<> goOn{0};

    std::atomic<bool> available = true;
    std::atomic<bool> asks = true;
    std::atomic<bool> asksOnce = true;
    std::atomic<NotesAccess> access = NotesAccess::Granted;
    std::atomic<bool> answer = true; ///< the user's, to a request
    std::vector<QString> folders;
    NoteOutcome outcome{true, false, {}};
    std::function<void()> onCancel;

    std::atomic<int> probes = 0;
    std::atomic<int> requests = 0;
    std::atomic<int> folderCalls = 0;
    std::atomic<bool> wasAskedOnTheMainThread = false;
    std::vector<NoteDraft> drafts;

    bool isAvailable() const override { return available; }
    bool asksForConsent() const override { return asks; }
    bool asksAtMostOnce() const override { return asksOnce; }
    bool canNameFolder(const QString& name) const override { return !name.startsWith(QLatin1Char('.')); }
    NotesAccess probeAccess() override {
        ++probes;
        blocks(Call::Probe);
        return access;
    }
    bool requestAccess() override {
        ++requests;
        blocks(Call::Request);
        return answer;
    }
    void cancelRequest() override {
        if (onCancel) onCancel();
    }
    std::vector<QString> fetchFolders() override {
        std::vector<QString> found = folders; // before the call is known of: the test may change them then
        ++folderCalls;
        blocks(Call::Folders);
        return found;
    }
    bool testFolderConnection(const QString& folderName) override {
        ++folderCalls;
        blocks(Call::Folders);
        return folderName == QLatin1String("Work");
    }
    NoteOutcome createNoteWithAttachment(const NoteDraft& draft) override {
        drafts.push_back(draft);
        return outcome;
    }

private:
    void blocks(Call call) {
        if (MainThread::isCurrent()) wasAskedOnTheMainThread = true;
        if (!m_held.compare_exchange_strong(call, Call::None)) return;
        entered.release();
        goOn.acquire();
    }
    std::atomic<Call> m_held = Call::None;
};

} // namespace quillet::test
