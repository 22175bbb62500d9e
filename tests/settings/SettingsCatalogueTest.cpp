#include "settings/SettingsCatalogue.h"

#include "platform/SystemNotes.h"
#include "support/FakeFileServices.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

TEST(SettingsCatalogueTest, ValuesAreCheckedByTheirType) {
    const struct {
        const char *key, *text;
        const char* stored; ///< as it reads back; null: refused
    } rows[] = {
        {"corvane.autoCreateNote", "yes", "true"},
        {"corvane.autoCreateNote", "OFF", "false"},
        {"corvane.autoCreateNote", "perhaps", nullptr},
        {"corvane.notesApplication", "joplin", "joplin"},
        {"corvane.notesApplication", "Joplin", nullptr},
        {"corvane.notesFolderName", " Meetings, “internal” ", " Meetings, “internal” "},
        {"corvane.notesVaultFolder", "/home/ada/Notizen/./ü", "/home/ada/Notizen/ü"},
        {"corvane.notesVaultFolder", "Notizen", nullptr},
        {"corvane.recordingsFolderBookmark", "/mnt/./a b", "/mnt/a b"},
        {"corvane.recordingsFolderBookmark", "a b", nullptr},
        {"corvane.selectedTemplateId", "{2f1d7b4e-0c3f-4a7e-9a53-5d1b8f7f6a10}",
         "2F1D7B4E-0C3F-4A7E-9A53-5D1B8F7F6A10"},
        {"corvane.selectedTemplateId", "first", nullptr},
        {"corvane.selectedTemplateId", "{2f1d7b4e-0c3f-4a7e-9a53-5d1b8f7f6a10}x", nullptr},
        {"corvane.customTemplates", "[ ]", "[ ]"},
        {"corvane.customTemplates", "[{\"name\":\"x\"}]", nullptr},
        {"corvane.customTemplates", "{}", nullptr},
        {"corvane.joplinPort", "41184", "41184"},
        {"corvane.joplinPort", "80000", nullptr},
        {"corvane.joplinToken", "0123abcd", "(set)"},
        {"corvane.localModelAddress", " http://127.0.0.1:11434/v1 ", "http://127.0.0.1:11434/v1"},
        {"corvane.localModelAddress", "https://models.example.eu/v1", nullptr},
        {"corvane.cloudModelAddress", "https://models.example.eu/v1", "https://models.example.eu/v1"},
        {"corvane.cloudModelAddress", "http://models.example.eu/v1", nullptr},
        {"corvane.localModelContext", "8192", "8192"},
        {"corvane.localModelContext", "8k", nullptr},
        {"corvane.localModelContext", "512", nullptr},
        {"corvane.cloudModelContext", "4000001", nullptr},
    };
    test::FakeFileServices files;
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.key << " = " << row.text);
        const SettingInfo* setting = findSetting(QString::fromUtf8(row.key));
        ASSERT_NE(setting, nullptr);
        const auto value = parseSetting(*setting, QString::fromUtf8(row.text), files);
        ASSERT_EQ(value.ok(), row.stored != nullptr);
        if (!value) continue;
        MemoryUserDefaults defaults;
        defaults.set(setting->key, *value);
        EXPECT_EQ(settingText(*setting, defaults, files), QString::fromUtf8(row.stored));
        EXPECT_EQ(defaults.data(setting->key).value_or(QByteArray()).startsWith("bookmark:"),
                  setting->key == DefaultsKeys::recordingsFolderBookmark);
    }
    EXPECT_EQ(findSetting(u"corvane.unknown"_s), nullptr);
}

TEST(SettingsCatalogueTest, WhatMakesNoSenseCountsAsAbsent) {
    const struct {
        QString key;
        QVariant stored;
        QString shown;
    } rows[] = {
        {DefaultsKeys::recordingsFolderBookmark, QByteArray("no bookmark"), u""_s},
        {DefaultsKeys::notesApplication, u"paper"_s, systemNotes() ? u"Apple Notes"_s : u"vault"_s},
        {u"useLocalSummarisation"_s, u"mostly"_s, u"true"_s},
        {DefaultsKeys::cloudModelContext, u"512"_s, u"32768"_s},
        {DefaultsKeys::selectedTemplateId, 17, u""_s},
        {DefaultsKeys::customTemplates, QByteArray(R"([{"name":"x")"), uR"([{"name":"x")"_s}, // shown to be mended
    };
    test::FakeFileServices files;
    for (const auto& row : rows) {
        MemoryUserDefaults defaults;
        defaults.set(row.key, row.stored);
        EXPECT_EQ(settingText(*findSetting(row.key), defaults, files), row.shown) << row.key.toStdString();
    }
}

} // namespace
} // namespace quillet
