#pragma once

#include <QUrl>

#include <memory>

namespace quillet {

/// What the desktop shows for us in programs of its own choice. Main thread, never blocks. Failures are the desktop's
/// to show: there is nothing that the program could do about them.
class Desktop {
public:
    virtual ~Desktop() = default;

    /// In the user's browser, or whatever the user chose for such addresses.
    virtual void openUrl(const QUrl& url) = 0;
    /// The system's settings of its language model; false where the system has none.
    virtual bool openLanguageModelSettings() = 0;
};

[[nodiscard]] std::unique_ptr<Desktop> makeDesktop();

} // namespace quillet
