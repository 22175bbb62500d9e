#pragma once

#include "support/Files.h"

#include <QCoreApplication>
#include <QString>
#include <QTranslator>
#include <QXmlStreamReader>

#include <map>

namespace quillet::test {

using namespace Qt::StringLiterals;

/// A catalogue as Qt Linguist writes it.
struct Catalogue {
    struct Key {
        QString context, source, comment;
        friend std::strong_ordering operator<=>(const Key&, const Key&) = default;
    };
    struct Entry {
        QString translation, state; ///< empty for a finished one
    };
    std::map<Key, Entry> entries;

    static Catalogue read(const QString& path) {
        Catalogue all;
        QXmlStreamReader xml(contentsOf(path));
        QString context;
        Key key;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement) continue;
            if (xml.name() == u"message"_s) key = {context, {}, {}};
            if (xml.name() == u"name"_s) context = xml.readElementText();
            if (xml.name() == u"source"_s) key.source = xml.readElementText();
            if (xml.name() == u"comment"_s) key.comment = xml.readElementText();
            if (xml.name() != u"translation"_s) continue; // the last of a message
            const QString state = xml.attributes().value(u"type"_s).toString();
            const bool isNew = all.entries.emplace(key, Entry{xml.readElementText(), state}).second;
            EXPECT_TRUE(isNew) << "twice: " << key.source.toStdString();
        }
        EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
        EXPECT_FALSE(all.entries.empty()) << path.toStdString();
        return all;
    }
    /// One of those that belong to the program.
    static Catalogue of(const char* name) {
        return read(QStringLiteral(QUILLET_CATALOGUES "/quillet_%1.ts").arg(QLatin1String(name)));
    }
};

inline void removeTranslations() {
    for (QTranslator* const translator : QCoreApplication::instance()->findChildren<QTranslator*>()) delete translator;
}

} // namespace quillet::test
