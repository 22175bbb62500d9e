#include "templates/TemplatesTabModel.h"

#include "templates/TemplateRecords.h"

#include <QFile>
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

TEST_F(TemplatesTabModelTest, ThePreviewIsThatOfTheLastRow) {
    EXPECT_EQ(model.previewContent(), QString());
    EXPECT_TRUE(model.canShowPreview());
    manager->selectedTemplateId.set(std::nullopt);
    EXPECT_FALSE(model.canShowPreview());
    const MeetingTemplate& brief = MeetingTemplate::builtInTemplates().at(1);
    QString seenWhenShown;
    QObject context;
    model.showPreviewSheet.subscribe(&context, [&](bool) { seenWhenShown = model.previewContent(); });
    model.showPreview(brief);
    EXPECT_TRUE(model.showPreviewSheet.value());
    EXPECT_EQ(seenWhenShown, manager->previewTemplate(brief));
    model.choose(MeetingTemplate::builtInTemplates().at(2).id);
    EXPECT_EQ(model.previewContent(), manager->previewTemplate(brief));
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
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_EQ(file.readAll(), TemplateRecords::encode(one));
}

} // namespace
} // namespace quillet
