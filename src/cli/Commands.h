#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace quillet::cli {

/// What the shell is told. A file that was saved counts as saved, also when a full disk ended it early.
enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2 };

/// Each takes the arguments behind its name and returns an ExitStatus.
int record(const QStringList& arguments);
int devices(const QStringList& arguments);
int recover(const QStringList& arguments);
int notes(const QStringList& arguments);
int settings(const QStringList& arguments);
int summarise(const QStringList& arguments);
int templates(const QStringList& arguments);

/// One line on standard output or standard error. What standard output does not take is complained of.
void print(const QString& line);
void print(const QByteArray& line);
void complain(const QString& sentence);

} // namespace quillet::cli
