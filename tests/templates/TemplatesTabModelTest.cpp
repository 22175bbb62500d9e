#include "templates/TemplatesTabModel.h"

#include "support/Files.h"
#include "templates/TemplateRecords.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace quillet {
namespace {

class TemplatesTabModelTest : public testing::Test {
protected:
    MemoryUserDefaults defaults;
    std::shared_ptr<TemplateManager> manager = std::make_shared<TemplateManager>(defaults);
    QStringList proposed;
    std::function<void(const QString&)> confirm;
    TemplatesTabModel model{manager, [this](const QString& name, std::function<void(const QString&)> confirmed) {
                                proposed.append(name);
                                confirm = std::move(confirmed);
                            }};
};

TEST_F(TemplatesTabModelTest, ANewTemplateIsAddedAndNotChosen) {
    model.showNewTemplateSheet.set(true);
    model.saveNewTemplate(QStringLiteral(" "), QString());
    model.saveNewTemplate(QStringLiteral(" "), QString());
    const auto& own = manager->customTemplates.value();
    ASSERT_EQ(own.size(), 2U);
    EXPECT_EQ(own.front().name, QStringLiteral(" "));
    EXPECT_FALSE(own.front().isBuiltIn || own.front().isDefault);
    EXPECT_NE(own.front().id, own.back().id);
    EXPECT_FALSE(model.showNewTemplateSheet.value());
    EXPECT_EQ(manager->selectedTemplateId.value(), MeetingTemplate::builtInTemplates().front().id);
}

TEST_F(TemplatesTabModelTest, EditingKeepsIdAndFlags) {
    model.saveEditedTemplate(QStringLiteral("x"), QStringLiteral("y")); // nothing is being edited
    EXPECT_TRUE(defaults.keys().isEmpty());
    const MeetingTemplate before{
        .id = QUuid::createUuid(), .name = QStringLiteral("a"), .content = QStringLiteral("b"), .isDefault = true};
    manager->addTemplate(before);
    model.startEditing(before);
    EXPECT_TRUE(model.isEditing.value());
    EXPECT_EQ(model.selectedTemplate(), before);
    EXPECT_EQ(model.editingName() + model.editingContent(), QStringLiteral("ab"));
    model.saveEditedTemplate(QStringLiteral("x"), QStringLiteral("y"));
    EXPECT_FALSE(model.isEditing.value());
    EXPECT_EQ(manager->customTemplates.value().front(),
              (MeetingTemplate{before.id, QStringLiteral("x"), QStringLiteral("y"), true, false}));
}

TEST_F(TemplatesTabModelTest, AChoiceOfNoValueDoesNothing) {
    model.choose(std::nullopt);
    EXPECT_TRUE(defaults.keys().isEmpty());
    const QUuid id = MeetingTemplate::builtInTemplates().at(3).id;
    model.choose(id);
    EXPECT_EQ(manager->selectedTemplateId.value(), id);
}

TEST_F(TemplatesTabModelTest, AnExportIsTheRecordOfTheMomentUnderTheUnchangedName) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("x.json"));
    const MeetingTemplate one{
        .id = QUuid::createUuid(), .name = QStringLiteral("Q1/Notes"), .content = QStringLiteral("é")};
    manager->addTemplate(one);
    model.exportTemplate(one);
    EXPECT_EQ(proposed, QStringList{QStringLiteral("Q1/Notes.json")});
    EXPECT_FALSE(QFile::exists(path));
    manager->deleteTemplate(one.id);
    confirm(folder.path()); // cannot be written: dropped
    confirm(path);
    EXPECT_EQ(test::contentsOf(path), TemplateRecords::encode(one));
}

} // namespace
} // namespace quillet
