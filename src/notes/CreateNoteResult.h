#pragma once

namespace quillet {

/// The outcome of making a note out of a recording. The two are never both true.
struct CreateNoteResult {
    bool success = false;
    bool isAutomationDenied = false; ///< it failed because the notes application is closed to us
};

} // namespace quillet
