#include "templates/TemplateRecords.h"

#include "templates/TemplateFiles.h"

#include <QJsonDocument>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

const QByteArray kId = "2F1D7B4E-0C3F-4A7E-9A53-5D1B8F7F6A10";
const QByteArray kRecord = R"({"content":"c","id":")" + kId + R"(","isBuiltIn":false,"isDefault":true,"name":"n"})";

QByteArray recordWith(const QByteArray& before, const QByteArray& after) {
    return QByteArray(kRecord).replace(before, after);
}

TEST(TemplateRecordsTest, ARecordIsOneCompactObjectWithAnUpperCaseId) {
    const MeetingTemplate one{.id = QUuid::fromString(QString::fromLatin1(kId).toLower()),
                              .name = u"n"_s,
                              .content = u"c"_s,
                              .isDefault = true};
    EXPECT_EQ(TemplateRecords::encode(one), kRecord);
    EXPECT_EQ(TemplateRecords::encode(std::vector{one, one}), "[" + kRecord + "," + kRecord + "]");
    EXPECT_EQ(TemplateRecords::encode(std::vector<MeetingTemplate>{}), "[]");
}

TEST(TemplateRecordsTest, AListDecodesAsAWholeOrNotAtAll) {
    const struct {
        const char* what;
        QByteArray json;
        int templates; ///< -1: refused
    } rows[] = {
        {"empty list", "[]", 0},
        {"one", "[" + kRecord + "]", 1},
        {"duplicates stay", "[" + kRecord + "," + kRecord + "]", 2},
        {"unknown keys", "[" + recordWith("{", R"({"colour":[1,{}],)") + "]", 1},
        {"lower-case id", "[" + recordWith(kId, kId.toLower()) + "]", 1},
        {"written by hand", "\xEF\xBB\xBF [\n\t" + kRecord + " ]\n", 1},
        {"nothing", "", -1},
        {"truncated", "[" + kRecord.left(60), -1},
        {"bytes behind", "[" + kRecord + "]x", -1},
        {"an object", kRecord, -1},
        {"no object inside", "[" + kRecord + ",7]", -1},
        {"id is null", "[" + recordWith('"' + kId + '"', "null") + "]", -1},
        {"id in braces", "[" + recordWith(kId, "{" + kId + "}") + "]", -1},
        {"id with a hyphen elsewhere", "[" + recordWith(kId, "2F1D7B4E0-C3F-4A7E-9A53-5D1B8F7F6A10") + "]", -1},
        {"id with another digit", "[" + recordWith("2F", "G2") + "]", -1},
        {"flag is a number", "[" + recordWith("true", "1") + "]", -1},
        {"name is null", "[" + recordWith("\"n\"", "null") + "]", -1},
        {"second lacks its name", "[" + kRecord + "," + recordWith(R"(,"name":"n")", "") + "]", -1},
        {"second lacks its content", "[" + kRecord + "," + recordWith(R"("content":"c",)", "") + "]", -1},
        {"second lacks a flag", "[" + kRecord + "," + recordWith(R"("isDefault":true,)", "") + "]", -1},
        {"not UTF-8", "[" + recordWith("\"n\"", "\"\xff\"") + "]", -1},
        {"nested without end", QByteArray(100'000, '['), -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const auto decoded = TemplateRecords::decodeList(row.json);
        EXPECT_EQ(decoded ? static_cast<int>(decoded->size()) : -1, row.templates);
        const QString sentence = decoded ? u"."_s : decoded.error();
        EXPECT_TRUE(sentence.endsWith(QLatin1Char('.'))) << sentence.toStdString();
    }
}

TEST(TemplateRecordsTest, AnyTextSurvives) {
    const QString texts[] = {u""_s, u"Q1/Notes \"x\" \\ \n\r\t\b\f\x01"_s,
                             u"👩‍👩‍👧 é\u202e\u2028\ufeff\uffff"_s, QString(QChar(0)),
                             u"lone "_s + QChar(0xd800) + u' ' + QChar(0xdc00)};
    for (const QString& text : texts) {
        const std::vector<MeetingTemplate> before{{.id = QUuid::createUuid(), .name = text, .content = text}};
        const auto after = TemplateRecords::decodeList(TemplateRecords::encode(before));
        ASSERT_TRUE(after.ok()) << after.error().toStdString();
        EXPECT_EQ(*after, before);
    }
}

TEST(TemplateFilesTest, AnImportOverwritesNothingAndIsTheUsersOwn) {
    const std::vector<MeetingTemplate> existing{{.id = QUuid::fromString(QString::fromLatin1(kId))}};
    const auto one = TemplateFiles::imported(recordWith("\"isBuiltIn\":false", "\"isBuiltIn\":true"), existing);
    ASSERT_TRUE(one.ok());
    ASSERT_EQ(one->size(), 1U);
    EXPECT_NE(one->front().id, existing.front().id);
    EXPECT_FALSE(one->front().isBuiltIn || one->front().isDefault);
    EXPECT_EQ(one->front().name, u"n"_s);

    const auto two = TemplateFiles::imported("[" + kRecord + "," + kRecord + "]", {});
    ASSERT_TRUE(two.ok());
    ASSERT_EQ(two->size(), 2U);
    EXPECT_EQ(two->at(0).id, existing.front().id); // free, so it is kept
    EXPECT_NE(two->at(1).id, existing.front().id);

    EXPECT_FALSE(TemplateFiles::imported("{}", {}).ok());
    EXPECT_FALSE(TemplateFiles::imported("[[" + kRecord + "]]", {}).ok());
}

TEST(TemplateFilesTest, FilesAreReplacedWholeAndWhatIsNoFileIsNot) {
    const QTemporaryDir folder;
    for (const QString& name : {u"ü.json"_s, QString(255, u'n')}) {
        const QString path = folder.filePath(name);
        ASSERT_TRUE(TemplateFiles::write(path, "a longer text").ok());
        ASSERT_TRUE(TemplateFiles::write(path, kRecord).ok());
        EXPECT_EQ(*TemplateFiles::read(path), kRecord);
    }
    ASSERT_TRUE(TemplateFiles::write(u"/dev/null"_s, kRecord).ok());
    EXPECT_FALSE(QFileInfo(u"/dev/null"_s).isFile());

    for (const QString& bad : {folder.path(), folder.filePath(u"none/x.json"_s), QString()}) {
        const auto written = TemplateFiles::write(bad, kRecord);
        ASSERT_FALSE(written.ok()) << bad.toStdString();
        EXPECT_TRUE(written.error().startsWith(bad + u" cannot be written: "_s));
        EXPECT_FALSE(TemplateFiles::read(bad).ok());
    }
    EXPECT_FALSE(TemplateFiles::read(u"/dev/zero"_s).ok());
}

} // namespace
} // namespace quillet
