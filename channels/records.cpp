// The fresh record of the channel page.
#include "channels/records.h"

namespace kv::channels {

ChannelRecord CleanMyCH(int slot) {
    ChannelRecord r;
    r.BrandCode = -1;
    r.CH = static_cast<int16_t>(slot + 1);
    r.CapAudioOut = true;  // the word behind CH is set on a fresh record
    r.HTTPPort = 80;
    r.RtspPort = 554;
    r.FPS = 0;
    r.Quality = 7;
    r.RateControl = -1;
    r.Bitrate = 0;
    r.VideoNumber = 0;
    r.ChannelEdited = true;
    return r;
}

}  // namespace kv::channels
