#include "templates/TemplateFiles.h"
#include "templates/TemplateManager.h"
#include "templates/TemplateRecords.h"

#include <QCoreApplication>

#include <cstdint>
#include <cstdlib>

namespace {

void expect(bool holds) {
    if (!holds) std::abort();
}

} // namespace

// Whatever may be stored: the manager starts, what it read it writes so that it reads it again, and what it could not
// read it leaves alone.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quillet;
    static int argc = 1;
    static char program[] = "fuzz";
    static char* argv[] = {program, nullptr};
    static const QCoreApplication application(argc, argv); // published values belong to its thread
    const QByteArray stored(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    MemoryUserDefaults defaults;
    defaults.set(DefaultsKeys::customTemplates, stored);
    defaults.set(DefaultsKeys::selectedTemplateId, QString::fromUtf8(stored.right(36)));
    TemplateManager manager(defaults);
    const auto loaded = manager.customTemplates.value();
    expect(defaults.data(DefaultsKeys::customTemplates) == stored);
    expect(TemplateRecords::decodeList(TemplateRecords::encode(loaded)).value() == loaded);

    for (const MeetingTemplate& each : loaded) (void)manager.previewTemplate(each);
    if (!loaded.empty()) {
        manager.selectTemplate(loaded.front().id);
        manager.deleteTemplate(loaded.front().id);
        expect(loaded.front().isBuiltIn || manager.customTemplates.value().size() < loaded.size());
        expect(loaded.front().isBuiltIn || manager.selectedTemplateId.value() != loaded.front().id);
    }
    if (const auto added = TemplateFiles::imported(stored, loaded)) {
        const auto before = manager.customTemplates.value().size();
        manager.addTemplates(*added);
        expect(TemplateManager(defaults).customTemplates.value().size() == before + added->size());
        for (const MeetingTemplate& each : *added) manager.deleteTemplate(each.id);
        expect(manager.customTemplates.value().size() <= before); // all imported ones can be deleted
    }
    return 0;
}
