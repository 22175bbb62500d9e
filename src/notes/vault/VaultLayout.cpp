#include "notes/vault/VaultLayout.h"

#include "notes/markdown/MarkdownNote.h"
#include "notes/vault/VaultNames.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace quillet::vault {
namespace {

constexpr std::size_t kMaxSettingsBytes = std::size_t{1} << 20;

bool hasFolder(DurableFolder& root, const char* name) { return root.folderBelow({name}, IfMissing::Fail).ok(); }

Result<QByteArray> contentsBelow(DurableFolder& root, const char* folder, const char* file) {
    auto below = root.folderBelow({folder}, IfMissing::Fail);
    if (!below) return Failure{below.error()};
    return (*below)->contents(file, kMaxSettingsBytes);
}

/// Obsidian's setting: "/" or nothing for the root, "./…" for the note's own folder, else a path from the root. A path
/// that the application would not show, or that leaves the vault, counts as nothing.
void readAttachmentFolder(const QByteArray& settings, VaultLayout& layout) {
    const QString path =
        QJsonDocument::fromJson(settings).object().value(QLatin1String("attachmentFolderPath")).toString();
    QStringList folders = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const bool belowTheNote = path.startsWith(QLatin1String("./"));
    if (belowTheNote) folders.removeFirst();
    if (!std::all_of(folders.cbegin(), folders.cend(), isFolderName)) return;
    layout.attachments = folders;
    layout.attachmentsBelowTheNote = belowTheNote;
}

/// From one folder to another, both from the root: "../assets/".
QString relativePath(const QStringList& from, const QStringList& to) {
    const auto [fromEnd, toEnd] = std::mismatch(from.cbegin(), from.cend(), to.cbegin(), to.cend());
    QString path;
    for (auto up = fromEnd; up != from.cend(); ++up) path += QLatin1String("../");
    for (auto down = toEnd; down != to.cend(); ++down) path += *down + QLatin1Char('/');
    return path;
}

QString playerLink(VaultKind kind, const NotePlaces& places) {
    // From the root rather than by name alone: another folder may have a recording of that name.
    if (kind == VaultKind::Obsidian)
        return QStringLiteral("![[%1]]").arg((places.recording + QStringList(places.recordingName)).join(u'/'));
    const QString target = markdown::linkTarget(relativePath(places.note, places.recording) + places.recordingName);
    if (kind == VaultKind::Logseq)
        return QStringLiteral("![%1](%2)").arg(markdown::linkLabel(places.recordingName), target);
    return QStringLiteral("[Recording](%1)").arg(target);
}

/// A double-quoted scalar: JSON's strings are a part of YAML's, but for what YAML takes for the end of a line.
QString yamlQuoted(const QString& text) {
    const QJsonDocument list(QJsonArray{text});
    QString quoted = QString::fromUtf8(list.toJson(QJsonDocument::Compact));
    quoted = quoted.mid(1, quoted.size() - 2);
    for (const char16_t lineEnd : {u'\u0085', u'\u2028', u'\u2029'})
        quoted.replace(QChar(lineEnd), QStringLiteral("\\u%1").arg(uint{lineEnd}, 4, 16, QLatin1Char('0')));
    return quoted.replace(QChar(0x7f), QStringLiteral("\\u007f"));
}

QString frontMatter(const QString& title, const QDateTime& recordedAt) {
    return QStringLiteral("---\ntitle: %1\ndate: %2\ntags:\n  - recording\n---\n\n")
        .arg(yamlQuoted(title), recordedAt.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")));
}

} // namespace

VaultLayout readLayout(DurableFolder& root) {
    VaultLayout layout;
    if (hasFolder(root, ".obsidian")) {
        layout.kind = VaultKind::Obsidian;
        if (const auto settings = contentsBelow(root, ".obsidian", "app.json")) readAttachmentFolder(*settings, layout);
        return layout;
    }
    if (hasFolder(root, "pages") && contentsBelow(root, "logseq", "config.edn")) {
        layout.kind = VaultKind::Logseq;
        layout.notes = {QStringLiteral("pages")};
        layout.attachments = {QStringLiteral("assets")};
        return layout;
    }
    if (root.contents(".ztr-directory", kMaxSettingsBytes)) layout.kind = VaultKind::Zettlr;
    layout.attachments = {QStringLiteral("attachments")};
    return layout;
}

QString noteText(VaultKind kind, const NoteDraft& draft, const NotePlaces& places, const QDateTime& recordedAt) {
    const QString text =
        markdown::withParagraphBelowHeading(markdown::withDashBullets(draft.body), playerLink(kind, places));
    const bool showsFrontMatter = kind == VaultKind::Obsidian || kind == VaultKind::Zettlr;
    return showsFrontMatter ? frontMatter(draft.title, recordedAt) + text : text;
}

} // namespace quillet::vault
