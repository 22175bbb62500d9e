#pragma once

#include "support/Result.h"

#include <QString>
#include <QUrl>

namespace quillet {

/// Addresses of services that are sent what is said in meetings. The error is a sentence for the user.
///
/// A service on this machine: http or https, and a host that can be no other machine (localhost, 127.0.0.0/8, ::1).
[[nodiscard]] Result<QUrl, QString> localServiceAddress(const QString& text);
/// A service elsewhere: https, or anything that localServiceAddress() takes, which crosses no network.
[[nodiscard]] Result<QUrl, QString> cloudServiceAddress(const QString& text);

/// The host with its port where that is not the usual one, for the user to read.
[[nodiscard]] QString hostText(const QUrl& address);

} // namespace quillet
