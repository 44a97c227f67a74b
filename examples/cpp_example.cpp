// ini_parser_example in C++: shows a configuration, changes a key of it and saves it:
// cpp_example FILE
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "wyx_commlib/wyx.hpp"

int main(int argc, char **argv)
{
    auto doc = wyx::document::load(argc == 2 ? argv[1] : nullptr);
    if (!doc) {
        std::fprintf(stderr, "usage: cpp_example FILE: %s\n", doc.message());
        return EXIT_FAILURE;
    }
    for (const std::string_view section : doc->sections()) {
        for (const std::string_view key : doc->keys(section)) {
            const std::string name = std::string(section) + "." + std::string(key);
            const auto value = doc->get(section, key);
            std::printf("%s: %s\n", name.c_str(),
                        value && !value->is_null() ? value->c_str() : "(no value)");
        }
    }
    const int port = doc->get_or("net", "port", 5060);
    if (const auto set = doc->set("net", "port", port + 1); !set) {
        std::fprintf(stderr, "not changed: %s\n", set.message());
        return EXIT_FAILURE;
    }
    if (const auto saved = std::move(*doc).save(argv[1]); !saved) {
        std::fprintf(stderr, "not saved: %s\n", saved.message());
        return EXIT_FAILURE;
    }
    std::printf("MD5 of the old port: %s\n", wyx::md5_of(std::to_string(port)).hex().c_str());
    return EXIT_SUCCESS;
}
