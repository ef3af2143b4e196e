// POS: devices (32824), trigger events (32828), filter profiles (32832, 32833.<id>) and COM ports (40994).
#include "sim/seed_internal.h"

namespace kv::sim::seed {
namespace {

std::string devices() {
    struct Device {
        int id;
        const char *name, *location, *port;
        int baud, byteSize, parity, stopBits, flow, profile;
        std::vector<int> channels;
        int active;
    };
    const Device list[] = {
        {1, "Front Till", "Shop counter", "COM1", 9600, 8, 0, 0, 0, 1, {9, 10}, 1},
        {2, "Bar Register", "Bar <upstairs>", "COM2", 19200, 7, 1, 0, 1, 2, {11}, 0},
    };
    std::string out;
    for (const Device& d : list) {
        std::string chs;
        for (int ch : d.channels) chs += elem("AssociatedCH", ch);
        out += wrap("POSDevice", elem("ID", d.id) + elem("Name", d.name) + elem("Location", d.location) +
                                     elem("SerialPort", d.port) + elem("BaudRate", d.baud) +
                                     elem("ByteSize", d.byteSize) + elem("ParityCheck", d.parity) +
                                     elem("StopBits", d.stopBits) + elem("FlowControl", d.flow) +
                                     elem("FilterProfileID", d.profile) + wrap("AssociatedCHList", chs) +
                                     elem("Active", d.active));
    }
    return wrap("POSDeviceList", out);
}

std::string triggers() {
    // A keyword rule carries only the keyword fields, a numeric rule only the numeric ones.
    const std::string voidRule = elem("ID", 1) + elem("Name", "Void") + elem("Description", "Voided receipt") +
                                 elem("Type", 1) + elem("Keyword", "VOID") + elem("CaseSensitive", 0) +
                                 elem("MatchWholeWord", 1);
    const std::string bigSale = elem("ID", 2) + elem("Name", "Big sale") + elem("Description", "Total > 500 & paid") +
                                elem("Type", 2) + elem("PrefixText", "TOTAL") + elem("PostfixText", "EUR") +
                                elem("Condition", 1) + elem("NumericValue", "500.00");
    return wrap("UserDefinedEventList", wrap("UserDefinedEvent", voidRule) + wrap("UserDefinedEvent", bigSale));
}

struct Profile {
    int id;
    const char *name, *description;
    int codePage;
    const char *startTag, *endTag;
    int lineMode;
    const char *original, *substitute;
};

// Single-byte texts: the code page form and the system form hold the same bytes.
const Profile kProfiles[] = {
    {1, "Receipt ASCII", "One receipt from SALE to TOTAL", 1252, "53,41,4C,45", "54,4F,54,41,4C", 0, "56,4F,49,44",
     "2A,56,4F,49,44,2A"},
    {2, "Bar line mode", "Test~~", 950, "44,45,4D,4F", "0D,0A", 1, "46,72,65,65", "50,72,6F"},
};

std::string profileList() {
    std::string out;
    for (const Profile& p : kProfiles) out += wrap("FilterProfile", elem("ID", p.id) + elem("Name", p.name));
    return wrap("FilterProfileList", out);
}

// The client knows which profile an answer holds only by the "ID=<id>" of the UserData it sent.
std::string profile(const Profile& p) {
    const std::string tag = wrap("Tag", elem("Original", p.original) + elem("OriginalRaw", p.original) +
                                            elem("Substitute", p.substitute) + elem("SubstituteRaw", p.substitute));
    return elem("UserData", "ID=" + std::to_string(p.id)) + elem("Name", p.name) +
           elem("Description", p.description) + elem("Version", "1.0") + elem("CodePage", p.codePage) +
           elem("StartTag", p.startTag) + elem("StartTagRaw", p.startTag) + elem("EndTag", p.endTag) +
           elem("EndTagRaw", p.endTag) + elem("LineMode", p.lineMode) + wrap("TagList", tag);
}

}  // namespace

void addPosDocuments(Documents& docs, bool demo) {
    docs.emplace_back("32824", demo ? devices() : wrap("POSDeviceList", ""));
    docs.emplace_back("32828", demo ? triggers() : wrap("UserDefinedEventList", ""));
    docs.emplace_back("32832", demo ? profileList() : wrap("FilterProfileList", ""));
    if (demo)
        for (const Profile& p : kProfiles) docs.emplace_back("32833." + std::to_string(p.id), profile(p));
    // The serial ports are the machine's, configured or not.
    docs.emplace_back("40994", wrap("COMPortList", elem("COMPort", "COM1") + elem("COMPort", "COM2") +
                                                       elem("COMPort", "COM3")));
}

}  // namespace kv::sim::seed
