#pragma once

#include <QUrl>

#include <memory>

namespace quillet {

/// What other programs show for us: the user's browser, the system's settings. Main thread, never blocks. Failures are
/// theirs to show: there is nothing that the program could do about them.
class ExternalPrograms {
public:
    virtual ~ExternalPrograms() = default;

    /// In the user's browser, or whatever the user chose for such addresses.
    virtual void openUrl(const QUrl& url) = 0;
    /// The system's settings of its language model; false where the system has none.
    virtual bool openLanguageModelSettings() = 0;
};

[[nodiscard]] std::unique_ptr<ExternalPrograms> makeExternalPrograms();

} // namespace quillet
