#include "app/NotesServices.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(NotesServicesTest, AChoiceOfTheNotesApplicationCountsAtOnce) {
    MemoryUserDefaults defaults;
    const auto notes = makeNotesApplication(defaults);
    const struct {
        const char* stored;
        bool asks, asksAtMostOnce;
    } rows[] = {
        {"vault", false, true},
        {"joplin", true, false},
        {"paper", false, true},
        {"joplin", true, false},
    };
    for (const auto& row : rows) {
        defaults.set(DefaultsKeys::notesApplication, QString::fromLatin1(row.stored));
        EXPECT_EQ(notes->asksForConsent(), row.asks) << row.stored;
        EXPECT_EQ(notes->asksAtMostOnce(), row.asksAtMostOnce) << row.stored;
    }
}

} // namespace
} // namespace quillet
