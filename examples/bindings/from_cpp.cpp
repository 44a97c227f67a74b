// Reads net.port of an INI file, changes it and saves the file: from_cpp FILE
#include <cstdio>
#include <utility>

#include "wyx_commlib/wyx.hpp"

int main(int argc, char **argv)
{
    auto doc = wyx::document::load(argc == 2 ? argv[1] : nullptr);
    if (!doc) {
        std::fprintf(stderr, "usage: from_cpp FILE: %s\n", doc.message());
        return 1;
    }
    if (const auto port = doc->get<int>("net", "port")) {
        std::printf("port: %d\n", *port);
    }
    const auto set = doc->set("net", "port", 5061);
    return set && std::move(*doc).save(argv[1]) ? 0 : 1;
}
