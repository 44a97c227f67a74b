/* The recipes of the page on wyx.hpp, on a file in the working directory. */
#include "wyx_commlib/wyx.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>

int cpp_page_example();

namespace {

int Read()
{
#include "cpp_page_1.inc"
    return port == 5060 && host == "localhost" ? EXIT_SUCCESS : EXIT_FAILURE;
}

int List(const wyx::result<wyx::document> &doc)
{
    int found = 0;
#include "cpp_page_2.inc"
    for (const std::string_view section : doc->sections()) {
        found += static_cast<int>(doc->keys(section).size());
    }
    return found == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}

int refuse(const char *message)
{
    std::fprintf(stderr, "%s\n", message);
    return EXIT_FAILURE;
}

int Change(wyx::result<wyx::document> doc)
{
#include "cpp_page_3.inc"
    return saved ? EXIT_SUCCESS : refuse(saved.message());
}

int Convert()
{
    const std::string buffer = "abc";
#include "cpp_page_4.inc"
    return crc == wyx::crc32("abc") && digest == "900150983cd24fb0d6963f7d28e17f72" &&
                   text == "YWJj"
               ? EXIT_SUCCESS
               : EXIT_FAILURE;
}

} // namespace

int cpp_page_example()
{
    std::FILE *file = std::fopen("net.ini", "wb");
    if (file == nullptr || std::fputs("[net]\nport=5060\n", file) == EOF ||
        std::fclose(file) != 0 || Read() != 0 || List(wyx::document::load("net.ini")) != 0 ||
        Change(wyx::document::load("net.ini")) != 0 || Convert() != 0) {
        return 1;
    }
    auto doc = wyx::document::load("net.ini");
    return !doc || doc->get_or("net", "port", 0) != 5061;
}
