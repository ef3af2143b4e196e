// The demo and empty configurations, the keys that reads find them by, and the 4109 answer.
//
// Key scheme. A document is the inner XML of one answer, what stands between
// `<RESPONSE RET="0" ID="n">` and `</RESPONSE>`; its key is the decimal id of the read it answers:
//   "24582", "32801", "32787" ...  one document per read id;
//   "4100"                         the server information; the service's unasked push (32790) sends
//                                  the same body;
//   "4101.<ch>", "12297.<ch>"      a channel's presets and its camera's present position;
//   "4098.1", "4098.0"             e-map groups and camera nodes, by the Type the read asks for;
//   "32833.<id>"                   one POS filter profile, by the ID the read asks for;
//   32794, 32792, 32796, 32820, 32783, 24582 carry all channels: a read for one channel or a
//   channel list gets the whole document, and the client takes the channels it asked for.
// 4109 has no document: its answer is made from the user list ("32801") by groupReplyBody.
// Bodies never depend on the request except through the key: where the client reads the
// UserData it sent (4098, 32833), the document holds it. The command table (commands.cpp) names
// the key of each read and write.
#include "sim/seed.h"

#include "base/text.h"
#include "sim/seed_internal.h"

namespace kv::sim {
namespace {

SimStore::Documents documents(bool demo) {
    SimStore::Documents docs;
    seed::addSystemDocuments(docs, demo);
    seed::addChannelDocuments(docs, demo);
    seed::addAnalyticsDocuments(docs, demo);
    seed::addEventDocuments(docs, demo);
    seed::addRecordingDocuments(docs, demo);
    seed::addPosDocuments(docs, demo);
    return docs;
}

}  // namespace

SimStore::Documents demoDocuments() { return documents(true); }

SimStore::Documents emptyDocuments() { return documents(false); }

SimStore::Documents fullDocuments() {
    SimStore::Documents docs = documents(true);
    seed::replaceWithFullChannels(docs);
    seed::replaceWithFullAccounts(docs);
    return docs;
}

std::string groupReplyBody(const std::string& userListBody, const std::string& userName) {
    pugi::xml_document doc;
    int group = -1;
    if (seed::parseBody(doc, userListBody)) {
        const pugi::xml_node list = seed::bodyRoot(doc).child("UserList");
        // An exact name wins; otherwise names count as equal as the client compares them.
        const std::string wanted = base::ToUpper(base::Trim(userName));
        for (const pugi::xml_node u : list.children()) {
            const std::string_view name = u.attribute("Name").value();
            if (name == userName) {
                group = seed::toInt(u.attribute("GroupID").value());
                break;
            }
            if (group < 0 && base::ToUpper(base::Trim(name)) == wanted)
                group = seed::toInt(u.attribute("GroupID").value());
        }
    }
    return seed::elem("UserName", userName) + seed::elem("GroupID", group);
}

}  // namespace kv::sim
