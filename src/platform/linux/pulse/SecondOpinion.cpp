#include "platform/linux/pulse/SecondOpinion.h"

#include "platform/linux/pulse/PulseHandles.h"
#include "support/Require.h"

#include <utility>

namespace quillet {

using namespace std::chrono_literals;

SecondOpinion::SecondOpinion(pa_threaded_mainloop* mainloop, DeviceChoice choice, DeviceLookup::Answer answer)
    : m_choice(std::move(choice)),
      m_answer(std::move(answer)),
      m_context(pa_context_new(pa_threaded_mainloop_get_api(mainloop), "Quillet")),
      m_answered(mainloop, [this] {
          disconnect();
          m_answer(std::move(m_found));
      }) {
    require(m_context != nullptr, "no memory for a sound server context");
    pa_context_set_state_callback(
        m_context, [](pa_context*, void* data) { static_cast<SecondOpinion*>(data)->stateChanged(); }, this);
    pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

SecondOpinion::~SecondOpinion() { disconnect(); }

void SecondOpinion::stateChanged() {
    const pa_context_state_t state = pa_context_get_state(m_context);
    if (state == PA_CONTEXT_READY) {
        m_lookup = std::make_unique<DeviceLookup>(m_context, m_choice, [this](auto found) {
            m_found = std::move(found);
            m_answered.startIn(0s);
        });
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        m_found = Failure{soundServerError(pa_context_errno(m_context))};
        m_answered.startIn(0s);
    }
}

void SecondOpinion::disconnect() {
    if (m_context == nullptr) return;
    m_lookup.reset();
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
}

} // namespace quillet
