#pragma once

#include "support/Require.h"

#include <functional>
#include <memory>
#include <utility>

namespace quillet {

/// The one instance of a class in this process, built on first use by what the composition root has handed out. Only
/// the composition root and the entry points that have no constructor to be given it through use this; everything else
/// takes its collaborators through the constructor. Main thread.
template <typename T>
class SharedInstance {
public:
    using Factory = std::function<std::shared_ptr<T>()>;

    static void setFactory(Factory factory) { storage().factory = std::move(factory); }

    [[nodiscard]] static const std::shared_ptr<T>& get() {
        Storage& shared = storage();
        if (!shared.instance) {
            require(static_cast<bool>(shared.factory), "a shared instance is used before its factory is set");
            shared.instance = shared.factory();
        }
        return shared.instance;
    }

private:
    struct Storage {
        Factory factory;
        std::shared_ptr<T> instance;
    };
    static Storage& storage() {
        static Storage shared;
        return shared;
    }
};

} // namespace quillet
