// Build tool: makes a pristine database file from its schema SQL.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "store/sqlite.h"

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: kv-mkdb SCHEMA.sql OUT.db.ins\n");
        return 2;
    }
    std::ifstream in(argv[1]);
    std::stringstream sql;
    sql << in.rdbuf();
    if (!in) {
        std::fprintf(stderr, "kv-mkdb: cannot read %s\n", argv[1]);
        return 1;
    }
    const std::filesystem::path out = argv[2];
    std::error_code ec;
    std::filesystem::remove(out, ec);
    kv::store::Db db;
    if (!db.open(out, true) || !db.exec(sql.str())) {
        std::fprintf(stderr, "kv-mkdb: %s: %s\n", argv[1], db.lastError().c_str());
        std::filesystem::remove(out, ec);
        return 1;
    }
    return 0;
}
