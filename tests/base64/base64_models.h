// A model of Base64 that works bit by bit.
#ifndef WYX_TESTS_BASE64_BASE64_MODELS_H
#define WYX_TESTS_BASE64_BASE64_MODELS_H

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wyx::test {

inline constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string ModelEncoded(std::string_view bytes)
{
    std::string text;
    for (std::size_t at = 0; at < 8 * bytes.size(); at += 6) {
        std::size_t sextet = 0;
        for (std::size_t bit = at; bit < at + 6; ++bit) {
            const char ch = bit / 8 < bytes.size() ? bytes[bit / 8] : '\0';
            sextet = sextet * 2 + (static_cast<unsigned char>(ch) >> (7 - bit % 8) & 1U);
        }
        text += kAlphabet[sextet];
    }
    text.append((4 - text.size() % 4) % 4, '=');
    return text;
}

/// @p text includes the byte past the length that the decoder is given.
inline std::optional<std::string> ModelDecoded(std::string text)
{
    std::replace(text.begin(), text.end(), '-', '+');
    std::replace(text.begin(), text.end(), '_', '/');
    std::vector<bool> bits;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const std::size_t sextet = kAlphabet.find(text[at]);
        if (sextet == std::string_view::npos) {
            if (std::string_view("=\r\n\0", 4).find(text[at]) == std::string_view::npos) {
                return std::nullopt;
            }
        } else if (at + 1 < text.size()) {
            for (int i = 5; i >= 0; --i) {
                bits.push_back((sextet >> i & 1) != 0);
            }
        }
    }
    std::string bytes;
    for (std::size_t at = 0; at + 8 <= bits.size(); at += 8) {
        int iByte = 0;
        for (std::size_t i = at; i < at + 8; ++i) {
            iByte = iByte * 2 + (bits[i] ? 1 : 0);
        }
        bytes += static_cast<char>(iByte);
    }
    return bytes;
}

} // namespace wyx::test

#endif
