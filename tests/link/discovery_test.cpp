// Discovery datagram and the merging of DeviceList answers.
#include "link/discovery.h"

#include <gtest/gtest.h>

namespace kv::link {
namespace {

TEST(Discovery, requestRoundTripAndForeignDatagramsAreRefused) {
    EXPECT_EQ(discoveryRequest(8), "KV-DISCOVER 1 8");
    EXPECT_EQ(parseDiscoveryRequest(discoveryRequest(8)), 8);
    EXPECT_EQ(parseDiscoveryRequest("KV-DISCOVER 1 -3"), -3);
    for (const char* bad : {"", "KV-DISCOVER 1 ", "KV-DISCOVER 2 8", "KV-DISCOVER 1 8x", "kv-discover 1 8",
                            "KV-DISCOVER 1 99999999999"}) {
        EXPECT_FALSE(parseDiscoveryRequest(bad)) << bad;
    }
}

TEST(Discovery, mergerKeepsEachDistinctDeviceOnceInArrivalOrder) {
    const std::string a = "<Device><IP>10.0.0.1</IP><Port>9877</Port></Device>";
    const std::string b = "<Device><IP>10.0.0.2</IP><Port>9877</Port></Device>";
    DeviceListMerger merger;
    EXPECT_EQ(merger.text(), "<DeviceList></DeviceList>") << "no answer at all";
    merger.add("<DeviceList>" + a + "</DeviceList>");
    merger.add("<DeviceList>" + b + a + "<Other/></DeviceList>");  // a again, and a foreign child
    merger.add("<DeviceList>" + a);                                  // malformed: adds nothing
    merger.add("<Device><IP>10.0.0.3</IP></Device>");                // no DeviceList root
    EXPECT_EQ(merger.size(), 2u);
    EXPECT_EQ(merger.text(), "<DeviceList>" + a + b + "</DeviceList>");
}

}  // namespace
}  // namespace kv::link
