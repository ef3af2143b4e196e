// The POS filter test of the service: receipts cut by tags or lines, bytes substituted.
#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "base/base64.h"
#include "sim/pos_filter.h"

namespace kv::sim {
namespace {

std::vector<std::string> receipts(const std::string& raw, const std::string& start, const std::string& end,
                                  const std::string& lineMode, const std::string& tags = "") {
    const std::string profile = "<CMD ID='32834'><Param><TagFilter><StartTag>" + start + "</StartTag><EndTag>" + end +
                                "</EndTag><LineMode>" + lineMode + "</LineMode><TagList>" + tags +
                                "</TagList></TagFilter></Param></CMD>";
    pugi::xml_document doc;
    doc.load_string(filterReceipts(raw, profile).c_str());
    std::vector<std::string> out;
    for (pugi::xml_node r : doc.child("FilteredData").children()) out.push_back(base::MyDecode(r.child_value()).value());
    return out;
}

using Receipts = std::vector<std::string>;

TEST(FilterReceipts, cutsReceiptsByTagsOrLines) {
    // "S" .. "E": noise before the first start is skipped; the unfinished last receipt is left out.
    EXPECT_EQ(receipts("xxSa1ESb2E--Sc3", "53", "45", "0"), (Receipts{"Sa1E", "Sb2E"}));
    // Line mode ends a receipt at CR LF and skips empty lines.
    EXPECT_EQ(receipts("one\r\n\r\ntwo\r\nrest", "", "", "1"), (Receipts{"one\r\n", "two\r\n"}));
    EXPECT_EQ(filterReceipts("abc", "not xml"), "<FilteredData></FilteredData>");
}

TEST(FilterReceipts, substitutesBytesInEveryReceipt) {
    const std::string tags = "<Tag><Original>41,42</Original><Substitute>7a</Substitute></Tag>"
                             "<Tag><Original></Original><Substitute>21</Substitute></Tag>";  // empty: ignored
    EXPECT_EQ(receipts("ABcAB;AB;", "", "3B", "0", tags), (Receipts{"zcz;", "z;"}));
}

}  // namespace
}  // namespace kv::sim
