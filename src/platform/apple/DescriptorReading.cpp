#include "platform/apple/DescriptorReading.h"

#include <algorithm>

namespace quillet::apple {
namespace {

constexpr int kDeepest = 8;
constexpr std::int64_t kMostItems = 100'000;

ScriptDescriptor read(const NativeDescriptor& native, int depth) {
    ScriptDescriptor descriptor{.descriptorType = native.descriptorType(),
                                .numberOfItems = native.numberOfItems(),
                                .stringValue = native.stringValue(),
                                .booleanValue = native.booleanValue()};
    const std::int64_t items = depth < kDeepest ? std::min(descriptor.numberOfItems, kMostItems) : 0;
    for (std::int64_t index = 1; index <= items; ++index) {
        const auto item = native.descriptorAtIndex(index);
        descriptor.items.push_back(item ? std::make_shared<const ScriptDescriptor>(read(*item, depth + 1)) : nullptr);
    }
    return descriptor;
}

std::optional<QString> textIn(const QVariant& value) {
    if (value.typeId() != QMetaType::QString) return std::nullopt;
    return value.toString();
}

} // namespace

ScriptDescriptor readDescriptor(const NativeDescriptor& native) { return read(native, 0); }

ScriptErrorInfo readScriptError(const QVariant& number, const QVariant& message, const QVariant& briefMessage) {
    ScriptErrorInfo info{.number = std::nullopt, .message = textIn(message), .briefMessage = textIn(briefMessage)};
    if (number.typeId() == QMetaType::LongLong || number.typeId() == QMetaType::Int) info.number = number.toLongLong();
    return info;
}

} // namespace quillet::apple
