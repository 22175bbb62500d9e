#pragma once

#include <QString>
#include <QWidget>

#include <functional>

namespace quillet {

/// The desktop's own dialog for saving a JSON file, over the given widget's window and gone with it. It blocks nothing
/// and calls back when a file was chosen. The proposed name is changed only where no file could have it.
void showTemplateSaveDialog(QWidget* over, const QString& proposedName,
                            std::function<void(const QString& path)> confirmed);

} // namespace quillet
