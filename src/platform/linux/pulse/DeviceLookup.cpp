#include "platform/linux/pulse/DeviceLookup.h"

#include "platform/linux/pulse/PulseHandles.h"
#include "platform/linux/pulse/SoundServer.h"

#include <utility>

namespace quillet {

class DeviceLookup::Query {
    using Found = std::optional<FoundDevice>;

public:
    Query(pa_context* context, DeviceChoice choice, Answer answer)
        : m_context(context), m_choice(std::move(choice)), m_answer(std::move(answer)) {
        if (m_choice.name.empty()) {
            ask(pa_context_get_server_info(context, serverInfo, this));
        } else if (m_choice.name.front() == '@') {
            finish(Found()); // a server's alias: which device it means differs between servers
        } else {
            askForDevice();
        }
    }

private:
    void ask(pa_operation* operation) {
        m_operation.reset(operation);
        if (operation == nullptr) finish(Failure{soundServerError(pa_context_errno(m_context))});
    }

    void askForDevice() {
        if (m_choice.kind == DeviceChoice::Kind::SystemAudio) {
            ask(pa_context_get_sink_info_by_name(m_context, m_choice.name.c_str(), sinkInfo, this));
        } else {
            askForSource();
        }
    }

    void askForSource() { ask(pa_context_get_source_info_by_name(m_context, m_choice.name.c_str(), sourceInfo, this)); }

    /// The owner may destroy this object while it hears the answer.
    void finish(Result<Found> result) {
        const Answer answer = std::move(m_answer);
        m_answer = nullptr;
        if (answer) answer(std::move(result));
    }

    void finishWithError() {
        const int error = pa_context_errno(m_context);
        if (error == PA_ERR_NOENTITY) return finish(Found());
        finish(Failure{soundServerError(error)});
    }

    static void serverInfo(pa_context*, const pa_server_info* info, void* data) {
        auto& query = *static_cast<Query*>(data);
        if (info == nullptr) return query.finishWithError();
        const bool system = query.m_choice.kind == DeviceChoice::Kind::SystemAudio;
        const char* name = system ? info->default_sink_name : info->default_source_name;
        if (name == nullptr || *name == '\0' || *name == '@') return query.finish(Found());
        query.m_choice.name = name;
        query.m_followsDefault = true;
        query.askForDevice();
    }

    static void sinkInfo(pa_context*, const pa_sink_info* info, int end, void* data) {
        auto& query = *static_cast<Query*>(data);
        if (end == 0 && query.m_choice.name == info->name && info->monitor_source_name != nullptr)
            query.m_found = FoundDevice{info->monitor_source_name, info->name};
        if (end == 0) return;
        if (query.m_found) return query.finish(query.m_found);
        if (end < 0 && pa_context_errno(query.m_context) != PA_ERR_NOENTITY) return query.finishWithError();
        // Not an output; a user may also have named its monitor, or another source, to be recorded as system audio.
        if (query.m_followsDefault) return query.finish(Found());
        query.askForSource();
    }

    static void sourceInfo(pa_context*, const pa_source_info* info, int end, void* data) {
        auto& query = *static_cast<Query*>(data);
        // Compared, because a server may understand an output's name as that of its monitor.
        const bool monitorByDefault = end == 0 && query.m_followsDefault && info->monitor_of_sink != PA_INVALID_INDEX;
        if (end == 0 && query.m_choice.name == info->name && !monitorByDefault)
            query.m_found = FoundDevice{info->name, info->name};
        if (end == 0) return;
        if (end < 0) return query.finishWithError();
        query.finish(query.m_found);
    }

    pa_context* const m_context;
    DeviceChoice m_choice;
    Answer m_answer;
    bool m_followsDefault = false;
    Found m_found;
    Operation m_operation;
};

DeviceLookup::DeviceLookup(pa_context* context, DeviceChoice choice, Answer answer)
    : m_query(std::make_unique<Query>(context, std::move(choice), std::move(answer))) {}

DeviceLookup::~DeviceLookup() = default;

} // namespace quillet
