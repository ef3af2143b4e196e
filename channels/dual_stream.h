// The recording's second stream as the channel page and its document see it: a format change
// the camera cannot send beside a second stream switches it off. The recording subject lends
// these; without it a channel has no known second stream.
#pragma once

#include <cstdint>
#include <functional>

#include "app/document.h"

namespace kv::channels {

struct DualStreamHooks {
    /// `DualMode` of a channel's recording settings; -1 when not known.
    std::function<int16_t(int32_t ch)> dualMode;
    /// Sets it to 0 and sends the recording settings now (the page, before its 24581).
    std::function<bool(int32_t ch)> switchOff;
    /// The same as a pending save of kelvarra-ctl, placed before the channel's 24581.
    std::function<app::PendingSave(int32_t ch)> switchOffSave;
};

}  // namespace kv::channels
