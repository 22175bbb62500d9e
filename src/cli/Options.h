#pragma once

#include <QCommandLineParser>
#include <QStringList>

#include <optional>

namespace quillet::cli {

/// Whether help is asked for of a command that takes verbs, or of one of its verbs.
[[nodiscard]] bool asksForHelp(const QStringList& arguments);

/// Parses the arguments of a command that takes nothing but options, "--help" among them. What the command returns when
/// that is all: its help was printed, or what is wrong was complained of.
[[nodiscard]] std::optional<int> parseOptions(QCommandLineParser& parser, const QStringList& arguments);

/// The parser's help with the command's name in it.
[[nodiscard]] QString helpOf(const QCommandLineParser& parser, const QString& command);

} // namespace quillet::cli
