#include "platform/apple/DescriptorReading.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace quillet::apple::test {
namespace {

struct FakeDescriptor final : NativeDescriptor {
    std::uint32_t type = fourCharCode("utxt");
    std::optional<QString> text;
    std::vector<std::shared_ptr<FakeDescriptor>> items;
    std::int64_t promised = 0;
    bool endless = false;

    std::uint32_t descriptorType() const override { return type; }
    std::int64_t numberOfItems() const override { return promised; }
    std::unique_ptr<NativeDescriptor> descriptorAtIndex(std::int64_t index) const override {
        if (endless) return std::make_unique<FakeDescriptor>(*this);
        const auto& item = items.at(static_cast<std::size_t>(index) - 1);
        return item ? std::make_unique<FakeDescriptor>(*item) : nullptr;
    }
    std::optional<QString> stringValue() const override { return text; }
    bool booleanValue() const override { return text == QStringLiteral("yes"); }

    static std::shared_ptr<FakeDescriptor> of(const char* word) {
        auto made = std::make_shared<FakeDescriptor>();
        made->text = QString::fromUtf8(word);
        return made;
    }
};

TEST(DescriptorReadingTest, aListKeepsItsOrderAndItsGaps) {
    FakeDescriptor list;
    list.type = fourCharCode("list");
    list.items = {FakeDescriptor::of("Meetings"), nullptr, FakeDescriptor::of("yes")};
    list.promised = 3;

    const ScriptDescriptor read = readDescriptor(list);
    EXPECT_EQ(read.descriptorType, fourCharCode("list"));
    ASSERT_EQ(read.numberOfItems, 3);
    EXPECT_EQ(read.descriptorAtIndex(1)->stringValue, QStringLiteral("Meetings"));
    EXPECT_FALSE(read.descriptorAtIndex(1)->booleanValue);
    EXPECT_EQ(read.descriptorAtIndex(2), nullptr);
    EXPECT_TRUE(read.descriptorAtIndex(3)->booleanValue);
}

TEST(DescriptorReadingTest, anAbsurdAnswerIsCut) {
    FakeDescriptor nested;
    nested.promised = 1;
    nested.endless = true;
    int depth = 0;
    const ScriptDescriptor read = readDescriptor(nested);
    for (const ScriptDescriptor* inner = &read; inner; inner = inner->descriptorAtIndex(1)) ++depth;
    EXPECT_LT(depth, 20);

    FakeDescriptor negative;
    negative.promised = -1;
    EXPECT_EQ(readDescriptor(negative).numberOfItems, -1) << "whoever asked decides what that means";
    EXPECT_TRUE(readDescriptor(negative).items.empty());
}

TEST(DescriptorReadingTest, errorEntriesOfAnotherTypeAreAbsent) {
    const ScriptErrorInfo refused = readScriptError(-1743LL, QStringLiteral("Not authorised"), {});
    EXPECT_EQ(refused.number, -1743);
    EXPECT_EQ(refused.message, QStringLiteral("Not authorised"));
    EXPECT_FALSE(refused.briefMessage.has_value());

    const ScriptErrorInfo odd = readScriptError(-1743.5, 5, true);
    EXPECT_FALSE(odd.number.has_value() || odd.message.has_value() || odd.briefMessage.has_value());
    EXPECT_FALSE(readScriptError(QStringLiteral("-1743"), {}, {}).number.has_value());
}

} // namespace
} // namespace quillet::apple::test
