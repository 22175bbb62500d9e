#pragma once

#include <QFile>
#include <QString>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace quillet::test {

/// A catalogue as Qt Linguist writes it.
struct Catalogue {
    struct Key {
        QString context;
        QString source;
        QString comment;
        friend bool operator==(const Key&, const Key&) = default;
        friend bool operator<(const Key& a, const Key& b) {
            return std::tie(a.context, a.source, a.comment) < std::tie(b.context, b.source, b.comment);
        }
    };
    struct Entry {
        QString translation;
        QString state; ///< empty for a finished one
    };
    std::map<Key, Entry> entries;

    static Catalogue read(const QString& path) {
        Catalogue all;
        QFile file(path);
        EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
        QXmlStreamReader xml(&file);
        QString context;
        Key key;
        Entry entry;
        while (!xml.atEnd()) {
            const auto token = xml.readNext();
            if (token == QXmlStreamReader::StartElement) {
                if (xml.name() == QLatin1String("message")) key = {context, {}, {}};
                if (xml.name() == QLatin1String("name")) context = xml.readElementText();
                if (xml.name() == QLatin1String("source")) key.source = xml.readElementText();
                if (xml.name() == QLatin1String("comment")) key.comment = xml.readElementText();
                if (xml.name() == QLatin1String("translation")) {
                    entry.state = xml.attributes().value(QLatin1String("type")).toString();
                    entry.translation = xml.readElementText();
                }
            } else if (token == QXmlStreamReader::EndElement && xml.name() == QLatin1String("message")) {
                EXPECT_TRUE(all.entries.emplace(key, entry).second) << "twice: " << key.source.toStdString();
            }
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

} // namespace quillet::test
