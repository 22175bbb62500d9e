#include "platform/Platform.h"

#include <QHash>

namespace quillet {

QString platformWording(const QString& text) {
    static const QHash<QString, QString> wording = {
        {QStringLiteral("No display available for system audio capture."),
         QStringLiteral("There is no sound output to record. Connect or switch on an output and try again.")},
        {QStringLiteral("No shareable content returned."),
         QStringLiteral("The chosen sound output does not exist. See “quillet devices”.")},
        {QStringLiteral("No microphone available."),
         QStringLiteral("There is no microphone. Connect one, or choose an input in your sound settings.")},
        {QStringLiteral(
             "Microphone access is required. Enable it in System Settings → Privacy & Security → Microphone."),
         QStringLiteral("The sound server refuses access to the microphone. Allow sound recording for this program.")},
        {QStringLiteral("Failed to setup audio writer."),
         QStringLiteral("The recording file could not be created, neither in the chosen folder nor in the default "
                        "one. Is another recording being written to the same file?")},
    };
    if (const auto found = wording.constFind(text); found != wording.constEnd()) return *found;
    const QString content = QStringLiteral("Could not get shareable content: ");
    if (text.startsWith(content))
        return QStringLiteral("The sound outputs cannot be listed: ") + text.mid(content.size());
    const QString stream = QStringLiteral("Stream start failed: ");
    if (text.startsWith(stream))
        return QStringLiteral("The sound output cannot be recorded: ") + text.mid(stream.size());
    return text;
}

} // namespace quillet
