#pragma once

#include <QString>
#include <QWidget>

#include <functional>

namespace quillet {

class FileDialogs;

/// The desktop's own dialog for saving a JSON file, where it has one and that works, else the toolkit's, over the given
/// widget's window and gone with it. It blocks nothing and calls back when a file was chosen. The proposed name is
/// changed only where no file could have it.
/// dialogs: may be null.
void showTemplateSaveDialog(FileDialogs* dialogs, QWidget* over, const QString& proposedName,
                            std::function<void(const QString& path)> confirmed);

} // namespace quillet
