/* The example of wyx.hpp, on a file in the working directory. */
#include "wyx_commlib/wyx.hpp"

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

int wyx_example();

namespace {

std::string shown;

int complain(std::string_view message)
{
    return std::printf("%.*s\n", static_cast<int>(message.size()), message.data());
}

void show(std::string_view key)
{
    shown += key;
}

int Run()
{
#include "wyx_1.inc"
    return saved ? 0 : complain(saved.message());
}

} // namespace

int wyx_example()
{
    std::FILE *file = std::fopen("net.ini", "wb");
    if (file == nullptr || std::fputs("[net]\nport=5060\n", file) == EOF ||
        std::fclose(file) != 0) {
        return 1;
    }
    if (Run() != 0 || shown != "port") {
        return 1;
    }
    auto doc = wyx::document::load("net.ini");
    return !doc || doc->get_or("net", "port", 0) != 5061;
}
