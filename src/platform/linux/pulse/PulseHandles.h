#pragma once

#include <pulse/pulseaudio.h>

#include <initializer_list>
#include <memory>
#include <utility>

namespace quillet {

inline constexpr const char* kApplicationId = "quillet";

struct FreeProperties {
    void operator()(pa_proplist* properties) const { pa_proplist_free(properties); }
};
using PropertyList = std::unique_ptr<pa_proplist, FreeProperties>;

inline PropertyList makeProperties(std::initializer_list<std::pair<const char*, const char*>> entries) {
    PropertyList properties(pa_proplist_new());
    for (const auto& [key, value] : entries) pa_proplist_sets(properties.get(), key, value);
    return properties;
}

/// A question under way. Letting go of it means that its callback does not come any more; under the server's lock.
struct CancelOperation {
    void operator()(pa_operation* operation) const {
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
    }
};
using Operation = std::unique_ptr<pa_operation, CancelOperation>;

} // namespace quillet
