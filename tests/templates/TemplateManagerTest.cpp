#include "templates/TemplateManager.h"

#include "templates/TemplateRecords.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using namespace Qt::StringLiterals;

const QUuid& builtInId(std::size_t place) { return MeetingTemplate::builtInTemplates().at(place).id; }

MeetingTemplate custom(const char* name, const QUuid& id = QUuid::createUuid()) {
    return {.id = id, .name = QString::fromUtf8(name), .content = u"{{date}}"_s};
}

class TemplateManagerTest : public testing::Test {
protected:
    std::optional<QByteArray> storedList() const { return defaults.data(DefaultsKeys::customTemplates); }
    std::optional<QString> storedId() const { return defaults.string(DefaultsKeys::selectedTemplateId); }
    static QString names(const TemplateManager& manager) {
        QString all;
        for (const MeetingTemplate& each : manager.customTemplates.value()) all += each.name;
        return all;
    }

    MemoryUserDefaults defaults;
};

TEST_F(TemplateManagerTest, WhatWasStoredIsThereAtTheNextStart) {
    const MeetingTemplate first = custom("Erste ✓");
    const MeetingTemplate second = custom("");
    TemplateManager manager(defaults);
    EXPECT_TRUE(defaults.keys().isEmpty());
    manager.addTemplate(first);
    manager.addTemplate(second);
    manager.addTemplate(first); // duplicates are accepted
    EXPECT_EQ(manager.selectedTemplateId.value(), builtInId(0));
    EXPECT_FALSE(storedId().has_value());
    manager.selectTemplate(second.id);

    const TemplateManager next(defaults);
    EXPECT_EQ(next.customTemplates.value(), (std::vector{first, second, first}));
    EXPECT_EQ(next.selectedTemplateId.value(), second.id);
    EXPECT_EQ(next.allTemplates().size(), 7U);
    EXPECT_EQ(next.allTemplates().at(5), second);
    EXPECT_EQ(storedId(), second.id.toString(QUuid::WithoutBraces).toUpper());
    EXPECT_TRUE(storedList()->startsWith("[{\""));
}

TEST_F(TemplateManagerTest, ASelectionIsAnyUuidAndElseTheDefault) {
    const QUuid stale = QUuid::createUuid();
    const struct {
        QVariant stored;
        QUuid selected;
    } rows[] = {
        {stale.toString(QUuid::WithoutBraces).toUpper(), stale}, // names nothing: it stays
        {stale.toString(QUuid::WithoutBraces), stale},
        {stale.toString(QUuid::WithBraces), builtInId(0)},
        {u"general"_s, builtInId(0)},
        {QString(), builtInId(0)},
        {true, builtInId(0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.stored.toString().toStdString());
        defaults.set(DefaultsKeys::selectedTemplateId, row.stored);
        EXPECT_EQ(TemplateManager(defaults).selectedTemplateId.value(), row.selected);
    }
    EXPECT_EQ(defaults.keys(), QStringList{DefaultsKeys::selectedTemplateId});
}

TEST_F(TemplateManagerTest, UnreadableTemplatesCountAsNoneUntilTheNextSave) {
    const QByteArray broken = R"([{"id":"x","name":"a"}])";
    defaults.set(DefaultsKeys::customTemplates, broken);
    TemplateManager manager(defaults);
    EXPECT_TRUE(manager.customTemplates.value().empty());
    manager.updateTemplate(custom("unknown"));
    manager.deleteTemplate(QUuid::createUuid());
    manager.selectTemplate(builtInId(1));
    EXPECT_EQ(storedList(), broken);
    const MeetingTemplate added = custom("new");
    manager.addTemplate(added);
    EXPECT_EQ(storedList(), TemplateRecords::encode(std::vector{added}));
}

TEST_F(TemplateManagerTest, UpdateChangesTheFirstOfAnIdAndDeleteRemovesAll) {
    const QUuid shared = QUuid::createUuid();
    TemplateManager manager(defaults);
    manager.addTemplates({custom("a"), custom("b", shared), custom("c"), custom("d", shared), custom("e")});
    manager.updateTemplate(custom("B", shared));
    EXPECT_EQ(names(manager), u"aBcde"_s);
    manager.deleteTemplate(manager.customTemplates.value().at(1).id); // a reference into the list that changes
    EXPECT_EQ(names(manager), u"ace"_s);
    EXPECT_EQ(names(TemplateManager(defaults)), names(manager));
}

TEST_F(TemplateManagerTest, DeletingTheActiveTemplateStoresTheDefaultAsActive) {
    const MeetingTemplate active = custom("active");
    const MeetingTemplate other = custom("other");
    TemplateManager manager(defaults);
    manager.addTemplates({active, other});
    manager.selectTemplate(active.id);
    manager.deleteTemplate(other.id);
    EXPECT_EQ(manager.selectedTemplateId.value(), active.id);
    manager.deleteTemplate(active.id);
    EXPECT_EQ(manager.selectedTemplateId.value(), builtInId(0));
    EXPECT_EQ(storedId(), builtInId(0).toString(QUuid::WithoutBraces).toUpper());
    EXPECT_EQ(storedList(), QByteArray("[]"));
}

TEST_F(TemplateManagerTest, BuiltInTemplatesAndThoseThatSayTheyAreOneStay) {
    MeetingTemplate flagged = custom("by hand");
    flagged.isBuiltIn = true;
    const QByteArray stored = TemplateRecords::encode(std::vector{flagged});
    defaults.set(DefaultsKeys::customTemplates, stored);
    TemplateManager manager(defaults);
    MeetingTemplate changed = MeetingTemplate::builtInTemplates().at(1);
    changed.name = u"changed"_s;
    manager.updateTemplate(changed);
    manager.deleteTemplate(changed.id);
    manager.deleteTemplate(flagged.id);
    EXPECT_EQ(manager.customTemplates.value(), std::vector{flagged});
    EXPECT_EQ(MeetingTemplate::builtInTemplates().at(1).name, u"Executive Brief"_s);
    EXPECT_EQ(defaults.keys(), QStringList{DefaultsKeys::customTemplates});
    EXPECT_EQ(storedList(), stored);
}

TEST_F(TemplateManagerTest, ThePreviewTellsOfTheSampleMeeting) {
    const QString brief = TemplateManager(defaults).previewTemplate(MeetingTemplate::builtInTemplates().at(1));
    EXPECT_TRUE(brief.startsWith(u"---\ntitle: \"Q1 Planning Meeting\"\ndate: March 1, 2026 at 10:00 AM\n"_s));
    EXPECT_EQ(brief.count(u'\n'), 20 + 4) << "decisions and action items have three lines each";
}

} // namespace
} // namespace quillet
