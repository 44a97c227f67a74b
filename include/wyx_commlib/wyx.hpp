/**
 * @file wyx.hpp
 * @brief The library for C++17 and later: owners, views and values over the C calls.
 *
 * Everything here is inline, throws nothing of its own and needs neither exceptions nor RTTI. Where
 * a comment names a C call, the header of that call is the manual, also for its use on threads. The
 * containers have no wrapper.
 *
 * - Text and bytes go in as views: wyx::c_text and wyx::bytes say what they accept.
 * - Results come out as values that own what the C calls hand over, and release it when they are
 *   destroyed.
 * - A failure is a wyx::result without a value, or a wyx::ini_names without names. It holds the
 *   module, the status and its text.
 *
 * @code{.cpp}
 * auto doc = wyx::document::load("net.ini");
 * if (!doc) {
 *     return complain(doc.message());
 * }
 * int port = doc->get_or("net", "port", 5060);
 * for (std::string_view key : doc->keys("net")) {
 *     show(key);
 * }
 * if (auto set = doc->set("net", "port", port + 1); !set) {
 *     return complain(set.message());
 * }
 * auto saved = std::move(*doc).save("net.ini");
 * @endcode
 *
 * A std::string, a std::vector or a copy of a text that is made here allocates as usual, and may
 * throw std::bad_alloc where exceptions are enabled.
 */
#ifndef WYX_COMMLIB_WYX_HPP
#define WYX_COMMLIB_WYX_HPP

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>
#if __has_include(<expected>)
#include <expected>
#endif

#include "os_adapter.h"
#include "wyx_commlib/commlib.h"

namespace wyx {

/// @name Errors
/// @{

/// The module that a status belongs to.
enum class module : int { ini = 1, address = 2, base64 = 3 };

/// The number of an error: the module in the upper half, its status in the lower half.
constexpr int error_number(module of, QAL_UINT32 status) noexcept
{
    return static_cast<int>(of) << 16 | static_cast<int>(status);
}

/// Why a call failed; 0 is success.
enum class errc : int {
    ini_section_not_found = error_number(module::ini, XELP_ERR_INI_SECTION_NOT_FOUND),
    ini_key_not_found = error_number(module::ini, XELP_ERR_INI_KEY_NOT_FOUND),
    ini_open_file = error_number(module::ini, XELP_ERR_INI_OPEN_FILE),
    ini_create_file = error_number(module::ini, XELP_ERR_INI_CREATE_FILE),
    ini_file_format = error_number(module::ini, XELP_ERR_INI_FILE_FORMAT),
    ini_no_memory = error_number(module::ini, XELP_ERR_INI_INTERNAL),
    ini_value_null = error_number(module::ini, XELP_ERR_INI_VALUE_NULL),
    ini_section = error_number(module::ini, XELP_ERR_INI_SECTION),
    ini_key_name = error_number(module::ini, XELP_ERR_INI_KEY_NAME),
    ini_empty = error_number(module::ini, XELP_ERR_INI_FILE_EMPTY),
    ini_line_too_long = error_number(module::ini, XELP_ERR_INI_LINE_TOO_LONG),
    ini_line_unknown = error_number(module::ini, XELP_ERR_INI_LINE_UNKNOWN),
    ini_argument = error_number(module::ini, XELP_ERR_INI_INPUT_PARA_ERR),
    ini_write_file = error_number(module::ini, XELP_ERR_INI_WRITE_FILE),
    ini_key_value = error_number(module::ini, XELP_ERR_INI_KEY_VALUE), ///< 180, like ini_write_file
    ini_comment = error_number(module::ini, XELP_ERR_INI_COMMENT),
    address_malformed = error_number(module::address, XELP_ERR_PARSE_IPV4V6_INVALID),
    base64_refused = error_number(module::base64, 1) ///< any failure: the calls have no statuses
};

/// The status in an error: a number of its module's enumeration, or 1 for Base64.
constexpr QAL_UINT32 status_of(errc error) noexcept
{
    return static_cast<QAL_UINT32>(error) & 0xFFFFU;
}

/// The text of an error: that of status_text.h, or for Base64 a text of its own.
inline const char *text_of(errc error) noexcept
{
    switch (static_cast<module>(static_cast<int>(error) >> 16)) {
        case module::ini:
            return wyx_ini_status_text(status_of(error));
        case module::address:
            return wyx_address_status_text(status_of(error));
        case module::base64:
            return "not Base64, too long, or no memory";
    }
    return "success";
}

/// The category of the errors, for std::error_code.
inline const std::error_category &error_category() noexcept
{
    struct category final : std::error_category {
        const char *name() const noexcept override { return "wyx"; }
        std::string message(int number) const override
        {
            return text_of(static_cast<errc>(number));
        }
    };
    static const category the;
    return the;
}

inline std::error_code make_error_code(errc error) noexcept
{
    return {static_cast<int>(error), error_category()};
}

namespace detail {
/// What all results have in common: whether the call failed, and why.
class outcome {
    errc error_{};

  public:
    outcome() noexcept = default;
    explicit outcome(errc error) noexcept : error_(error) {}

    bool has_value() const noexcept { return error_ == errc{}; }
    explicit operator bool() const noexcept { return has_value(); }
    errc error() const noexcept { return error_; }                   ///< errc{} after a success
    QAL_UINT32 status() const noexcept { return status_of(error_); } ///< see status_of()
    const char *message() const noexcept { return text_of(error_); } ///< never null
    std::error_code code() const noexcept { return make_error_code(error_); }
};
} // namespace detail

/// A value, or the reason why there is none. It can be move-constructed, but neither assigned nor
/// copied.
template <typename T>
class [[nodiscard]] result : public detail::outcome {
    union {
        T value_;
    };

  public:
    using value_type = T;
    result(T value) noexcept : value_(std::move(value)) {}
    result(errc error) noexcept : outcome(error) {} ///< must not be errc{}, which means success
    result(result &&other) noexcept : outcome(other)
    {
        if (has_value()) {
            ::new (static_cast<void *>(&value_)) T(std::move(other.value_));
        }
    }
    result &operator=(result &&) = delete;
    ~result()
    {
        if (has_value()) {
            value_.~T();
        }
    }

    /// The value; there must be one. The reference is valid only while this result exists. So keep
    /// the result in a variable: in `for (auto &item : *call())` the temporary result may be
    /// destroyed before the loop begins.
    T &operator*() &noexcept { return value_; }
    const T &operator*() const &noexcept { return value_; }
    T &&operator*() &&noexcept { return std::move(value_); }
    T *operator->() noexcept { return &value_; }
    const T *operator->() const noexcept { return &value_; }

    /// The value, or @p other if there is none.
    T value_or(T other) &&noexcept { return std::move(has_value() ? value_ : other); }

#if defined(__cpp_lib_expected)
    /// Moves into a std::expected: `std::expected<T, errc> e = std::move(r)`. For a bool, keep the
    /// `=`: with `e(std::move(r))` or `e{std::move(r)}`, e would hold r.has_value().
    operator std::expected<T, errc>() &&
    {
        return has_value() ? std::expected<T, errc>(std::move(value_)) : std::unexpected(error());
    }
#endif
};

/// Success, or the reason why the call failed.
template <>
class [[nodiscard]] result<void> : public detail::outcome {
  public:
    using value_type = void;
    result() noexcept = default;
    result(errc error) noexcept : outcome(error) {} ///< errc{} means success

#if defined(__cpp_lib_expected)
    /// Converts to std::expected.
    operator std::expected<void, errc>() const
    {
        return has_value() ? std::expected<void, errc>() : std::unexpected(error());
    }
#endif
};

/// @}
/// @name Arguments and results
/// @{

/// Text for a C call: borrowed if it is known to end in a NUL, otherwise copied. A null pointer
/// stays a null pointer. A NUL inside the text ends it, except for the Base64 decoder, which skips
/// it.
class c_text {
    std::unique_ptr<char[]> copy_;
    const char *begin_;
    std::size_t size_ = kUnknown;
    static constexpr std::size_t kUnknown = static_cast<std::size_t>(-1);

  public:
    c_text(const char *text) noexcept : begin_(text) {}
    c_text(const std::string &text) noexcept : begin_(text.c_str()), size_(text.size()) {}
    c_text(std::string_view text)
        : copy_(new char[text.size() + 1]), begin_(copy_.get()), size_(text.size())
    {
        copy_[text.copy(copy_.get(), size_)] = '\0';
    }
    c_text(const c_text &) = delete;
    c_text &operator=(const c_text &) = delete;

    const char *get() const noexcept { return begin_; }
    /// For the calls that take `char *` and leave the text alone.
    char *get_mutable() const noexcept { return const_cast<char *>(begin_); }
    std::size_t size() const noexcept
    {
        return size_ != kUnknown ? size_ : begin_ != nullptr ? std::strlen(begin_) : 0;
    }
};

/// A borrowed piece of memory: any range of trivially copyable elements that has std::data() and
/// std::size(), or a text without its NUL. A `char[]` counts as a text and must contain a NUL; to
/// pass the whole array, pass its size as well. Another type that converts to std::string_view,
/// such as std::pmr::string, must be converted first.
class bytes {
    const void *data_;
    std::size_t size_;

  public:
    bytes(const void *data, std::size_t size) noexcept : data_(data), size_(size) {}
    bytes(std::string_view text) noexcept : bytes(text.data(), text.size()) {}
    bytes(const std::string &text) noexcept : bytes(text.data(), text.size()) {}
    bytes(const char *text) noexcept : bytes(std::string_view(text)) {}
    template <typename Range,
              typename Element =
                  std::remove_pointer_t<decltype(std::data(std::declval<const Range &>()))>,
              typename = std::enable_if_t<std::is_trivially_copyable_v<Element> &&
                                          !std::is_convertible_v<const Range &, std::string_view>>>
    bytes(const Range &range) noexcept : bytes(std::data(range), std::size(range) * sizeof(Element))
    {}

    const QAL_UINT8 *data() const noexcept { return static_cast<const QAL_UINT8 *>(data_); }
    std::size_t size() const noexcept { return size_; }
};

/// A text of up to kRoom bytes, held in the object itself with a NUL after it. What is added must
/// fit.
template <std::size_t kRoom>
class short_text {
    std::array<char, kRoom + 1> text_{};
    std::size_t size_ = 0;

  public:
    std::string_view view() const noexcept { return {text_.data(), size_}; }
    operator std::string_view() const noexcept { return view(); }
    const char *c_str() const noexcept { return text_.data(); }
    std::string str() const { return std::string(view()); }

    short_text &add(char c) noexcept { return text_[size_++] = c, *this; }
    short_text &add(std::string_view text) noexcept
    {
        for (const char c : text) {
            add(c);
        }
        return *this;
    }
    /// Adds a number in base 10 or 16, in lower case and without leading zeros.
    short_text &add_number(QAL_UINT32 number, int base = 10) noexcept
    {
        char *const first = text_.data() + size_;
        size_ += static_cast<std::size_t>(
            std::to_chars(first, text_.data() + kRoom, number, base).ptr - first);
        return *this;
    }
    /// Adds two hexadecimal digits for each byte.
    short_text &add_hex(bytes raw) noexcept
    {
        for (std::size_t i = 0; i < raw.size(); ++i) {
            add("0123456789abcdef"[raw.data()[i] >> 4]).add("0123456789abcdef"[raw.data()[i] & 15]);
        }
        return *this;
    }
};

/// @}
/// @name Checksums and digests
/// @{

namespace detail {
/// Passes memory of any size, in pieces, to a call that takes a 32-bit length. Makes no call for
/// empty memory.
template <typename Call>
void in_pieces(bytes input, Call call) noexcept
{
    constexpr std::size_t kPiece = 0xFFFFFFC0U; // the largest 32-bit multiple of MD5's block length
    for (std::size_t done = 0; done < input.size();) {
        const std::size_t size = input.size() - done < kPiece ? input.size() - done : kPiece;
        call(input.data() + done, static_cast<QAL_UINT32>(size));
        done += size;
    }
}
} // namespace detail

/// CRC-16 of a message, or of its next piece: XELP_CRC_Accumulate_16().
inline QAL_UINT16 crc16(bytes input, QAL_UINT16 so_far = 0) noexcept
{
    detail::in_pieces(input, [&so_far](const QAL_UINT8 *data, QAL_UINT32 size) {
        XELP_CRC_Accumulate_16(so_far, data, size, &so_far);
    });
    return so_far;
}

/// CRC-32 of a message, or of its next piece, without the customary inversions:
/// XELP_CRC_Accumulate_32().
inline QAL_UINT32 crc32(bytes input, QAL_UINT32 so_far = 0) noexcept
{
    detail::in_pieces(input, [&so_far](const QAL_UINT8 *data, QAL_UINT32 size) {
        XELP_CRC_Accumulate_32(so_far, data, size, &so_far);
    });
    return so_far;
}

/// The 16 bytes of an MD5 digest.
struct md5_digest : std::array<QAL_UINT8, 16> {
    /// 32 hexadecimal digits in lower case.
    short_text<32> hex() const noexcept { return short_text<32>().add_hex(*this); }
};

/// An MD5 in progress; a copy continues independently.
class md5 {
    MD5_S_CTX context_;

  public:
    md5() noexcept { XELP_MD5_Init(&context_); } ///< XELP_MD5_Init()
    md5(const md5 &) noexcept = default;
    md5 &operator=(const md5 &) noexcept = default;

    /// Feeds the next piece: XELP_MD5_Update().
    md5 &update(bytes input) noexcept
    {
        detail::in_pieces(input, [this](const QAL_UINT8 *data, QAL_UINT32 size) {
            XELP_MD5_Update(&context_, data, size);
        });
        return *this;
    }
    /// Ends the message and begins another: XELP_MD5_Final(), XELP_MD5_Init().
    md5_digest finish() noexcept
    {
        md5_digest digest;
        XELP_MD5_Final(digest.data(), &context_);
        XELP_MD5_Init(&context_);
        return digest;
    }
};

/// MD5 of a whole message: XELP_MD5_Init(), XELP_MD5_Update(), XELP_MD5_Final().
inline md5_digest md5_of(bytes input) noexcept
{
    return md5().update(input).finish();
}

/// @}
/// @name Base64
/// @{

/// What a Base64 call hands over; released with MOX_BASE64Free().
class base64_buffer {
    struct release {
        void operator()(QAL_UINT8 *taken) const noexcept { MOX_BASE64Free(&taken); }
    };
    std::unique_ptr<QAL_UINT8[], release> data_;
    std::size_t size_ = 0;

  public:
    base64_buffer() noexcept = default;
    base64_buffer(QAL_UINT8 *taken, std::size_t size) noexcept : data_(taken), size_(size) {}

    const QAL_UINT8 *data() const noexcept { return data_.get(); }
    std::size_t size() const noexcept { return data_ ? size_ : 0; }
    const QAL_UINT8 *begin() const noexcept { return data(); }
    const QAL_UINT8 *end() const noexcept { return data() + size(); }
    std::string_view view() const noexcept
    {
        return {reinterpret_cast<const char *>(data()), size()};
    }
};

namespace detail {
using base64_call = QAL_INT32(QAL_UINT8 *, QAL_INT32, QAL_UINT8 **);

/// The result of an empty input is empty; the C calls would report a failure.
inline result<base64_buffer> base64(base64_call *call, const void *data, std::size_t size) noexcept
{
    if (size == 0) {
        return base64_buffer();
    }
    if (size > 0x7FFFFFFFU) {
        return errc::base64_refused;
    }
    QAL_UINT8 *output = nullptr;
    const QAL_INT32 length = call(const_cast<QAL_UINT8 *>(static_cast<const QAL_UINT8 *>(data)),
                                  static_cast<QAL_INT32>(size), &output);
    if (output == nullptr) {
        return errc::base64_refused;
    }
    return base64_buffer(output, static_cast<std::size_t>(length));
}

template <typename Container>
result<void> assign_to(Container &output, const result<base64_buffer> &converted)
{
    if (converted) {
        output.assign(converted->begin(), converted->end());
    }
    return converted.error();
}
} // namespace detail

/// Encodes bytes: MOX_BASE64Encode(). Unlike that call, accepts empty input: the result is empty.
inline result<base64_buffer> base64_encode(bytes input) noexcept
{
    return detail::base64(MOX_BASE64Encode, input.data(), input.size());
}

/// Encodes bytes into the caller's container, which a failure leaves as it was.
template <typename Container>
result<void> base64_encode(bytes input, Container &output)
{
    return detail::assign_to(output, base64_encode(input));
}

/// Decodes text: MOX_BASE64Decode(). Unlike that call, accepts empty text: the result is empty. The
/// byte after the text, which that call reads, is always a NUL.
inline result<base64_buffer> base64_decode(const c_text &input) noexcept
{
    if (input.get() == nullptr) {
        return errc::base64_refused;
    }
    return detail::base64(MOX_BASE64Decode, input.get(), input.size());
}

/// Decodes text into the caller's container, which a failure leaves as it was.
template <typename Container>
result<void> base64_decode(const c_text &input, Container &output)
{
    return detail::assign_to(output, base64_decode(input));
}

/// @}
/// @name Addresses
/// @{

/// An IPv4 address, and its port if it has one.
struct ipv4 {
    QAL_UINT32 number = 0; ///< 10.0.0.1 is 0x0A000001
    std::optional<QAL_UINT16> port;

    /// Reads `a.b.c.d` or `a.b.c.d:port`: XELP_Parse_IPV4().
    static result<ipv4> parse(const c_text &text) noexcept
    {
        ipv4 address;
        QAL_UINT16 port = 0;
        const QAL_UINT32 status = XELP_Parse_IPV4(text.get_mutable(), &address.number, &port);
        if (status == XELP_OK_HAVE_PORT) {
            address.port = port;
        } else if (status != 0) {
            return static_cast<errc>(error_number(module::address, status));
        }
        return address;
    }

    /// The address as `a.b.c.d` or `a.b.c.d:port`. parse() of this text yields an equal object.
    short_text<21> text() const noexcept
    {
        short_text<21> text;
        for (unsigned shift = 32; shift != 0;) {
            shift -= 8;
            text.add_number(number >> shift & 0xFFU);
            if (shift != 0) {
                text.add('.');
            }
        }
        if (port) {
            text.add(':').add_number(*port);
        }
        return text;
    }

    friend bool operator==(const ipv4 &a, const ipv4 &b) noexcept
    {
        return a.number == b.number && a.port == b.port;
    }
    friend bool operator!=(const ipv4 &a, const ipv4 &b) noexcept { return !(a == b); }
};

/// An IPv6 address and its port.
struct ipv6 {
    std::array<QAL_UINT8, 16> octets{}; ///< in network order
    QAL_UINT16 port = 0;                ///< also 0 if the text had no port

    /// Reads an address, with or without brackets and a port: XELP_Parse_IPV6().
    static result<ipv6> parse(const c_text &text) noexcept
    {
        ipv6 address;
        const QAL_UINT32 status =
            XELP_Parse_IPV6(text.get_mutable(), address.octets.data(), &address.port);
        if (status != 0) {
            return static_cast<errc>(error_number(module::address, status));
        }
        return address;
    }

    QAL_UINT32 group(std::size_t i) const noexcept
    {
        return static_cast<QAL_UINT32>(octets[2 * i] << 8 | octets[2 * i + 1]);
    }

    /// The short form of RFC 5952, without a dotted quad. If the port is not 0, the address is in
    /// brackets and the port follows. parse() of this text yields an equal object.
    short_text<47> text() const noexcept
    {
        std::size_t gap = 8;
        std::size_t gap_size = 1; // a single zero group is written out
        for (std::size_t i = 0, zeros = 0; i < 8; ++i) {
            zeros = group(i) == 0 ? zeros + 1 : 0;
            if (zeros > gap_size) {
                gap_size = zeros;
                gap = i + 1 - zeros;
            }
        }
        short_text<47> text;
        if (port != 0) {
            text.add('[');
        }
        for (std::size_t i = 0; i < 8; ++i) {
            if (i == gap) {
                text.add("::");
                i += gap_size - 1;
                continue;
            }
            if (i != 0 && i != gap + gap_size) {
                text.add(':');
            }
            text.add_number(group(i), 16);
        }
        if (port != 0) {
            text.add("]:").add_number(port);
        }
        return text;
    }

    friend bool operator==(const ipv6 &a, const ipv6 &b) noexcept
    {
        return a.octets == b.octets && a.port == b.port;
    }
    friend bool operator!=(const ipv6 &a, const ipv6 &b) noexcept { return !(a == b); }
};

/// Prints an address to any stream that takes a std::string_view.
template <
    typename Stream, typename Address,
    typename = std::enable_if_t<std::is_same_v<Address, ipv4> || std::is_same_v<Address, ipv6>>>
Stream &operator<<(Stream &stream, const Address &address)
{
    stream << address.text().view();
    return stream;
}

/// @}
/// @name INI files
/// @{

/// A value that XELP_IniGetKeyValue() handed over; released with XELP_MemFreeD().
class ini_text {
    struct release {
        void operator()(QAL_INT8 *taken) const noexcept
        {
            XELP_MemFreeD(taken, __LINE__, __FILE__);
        }
    };
    std::unique_ptr<QAL_INT8[], release> text_;

  public:
    ini_text() noexcept = default;
    explicit ini_text(QAL_INT8 *taken) noexcept : text_(taken) {}

    bool is_null() const noexcept { return !text_; } ///< the key has no value
    const char *c_str() const noexcept { return text_ ? text_.get() : ""; }
    std::string_view view() const noexcept { return c_str(); }
    operator std::string_view() const noexcept { return view(); }
    std::string str() const { return c_str(); }
};

/// A list of names: a range of std::string_view, released with XELP_IniFreeList(). After a failure
/// the list is empty, and error() says why. A section without keys is such a failure.
class ini_names : public detail::outcome {
    struct release {
        void operator()(QAL_INT8 **taken) const noexcept { XELP_IniFreeList(taken); }
    };
    std::unique_ptr<QAL_INT8 *[], release> names_;
    QAL_UINT32 size_ = 0;

  public:
    class iterator {
        QAL_INT8 *const *at_ = nullptr;

      public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::string_view *;
        using reference = std::string_view;
        iterator() noexcept = default;
        explicit iterator(QAL_INT8 *const *at) noexcept : at_(at) {}
        std::string_view operator*() const noexcept { return *at_; }
        iterator &operator++() noexcept { return ++at_, *this; }
        iterator operator++(int) noexcept { return iterator(at_++); }
        friend bool operator==(iterator a, iterator b) noexcept { return a.at_ == b.at_; }
        friend bool operator!=(iterator a, iterator b) noexcept { return a.at_ != b.at_; }
    };

    explicit ini_names(errc error) noexcept : outcome(error) {}
    ini_names(QAL_INT8 **taken, QAL_UINT32 size) noexcept : names_(taken), size_(size) {}

    iterator begin() const noexcept { return iterator(names_.get()); }
    iterator end() const noexcept { return iterator(names_.get() + size()); }
    std::size_t size() const noexcept { return names_ ? size_ : 0; }
    bool empty() const noexcept { return size() == 0; }
    std::string_view operator[](std::size_t i) const noexcept { return names_[i]; }
};

namespace detail {
inline std::string_view trimmed(std::string_view text) noexcept
{
    constexpr std::string_view kWhite = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kWhite);
    return first == text.npos ? std::string_view()
                              : text.substr(first, text.find_last_not_of(kWhite) + 1 - first);
}

inline bool equals_in_any_case(std::string_view text, std::string_view lower) noexcept
{
    bool is_equal = text.size() == lower.size();
    for (std::size_t i = 0; is_equal && i < text.size(); ++i) {
        const char c = text[i];
        is_equal = (c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) == lower[i];
    }
    return is_equal;
}

/// The value of a trimmed text, or none if not all of the text can be read as a T.
template <typename T>
std::optional<T> read_as(std::string_view text)
{
    if constexpr (std::is_same_v<T, std::string>) {
        return std::string(text);
    } else if constexpr (std::is_same_v<T, bool>) {
        for (const std::string_view yes : {"1", "true", "yes", "on"}) {
            if (equals_in_any_case(text, yes)) {
                return true;
            }
        }
        for (const std::string_view no : {"0", "false", "no", "off"}) {
            if (equals_in_any_case(text, no)) {
                return false;
            }
        }
        return std::nullopt;
    } else if constexpr (std::is_integral_v<T>) {
        T value{};
        const bool is_hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
        const char *const last = text.data() + text.size();
        const auto read =
            std::from_chars(text.data() + (is_hex ? 2 : 0), last, value, is_hex ? 16 : 10);
        const bool is_whole =
            read.ec == std::errc{} && read.ptr == last && !(is_hex && text[2] == '-');
        return is_whole ? std::optional<T>(value) : std::nullopt;
    } else if constexpr (std::is_floating_point_v<T>) {
        T value{};
#if defined(__cpp_lib_to_chars)
        const char *const last = text.data() + text.size();
        const auto read = std::from_chars(text.data(), last, value);
        return read.ec == std::errc{} && read.ptr == last ? std::optional<T>(value) : std::nullopt;
#else
        // strtod() accepts more than std::from_chars() and expects the locale's decimal point.
        if (text.find_first_of("+\v\f") == 0 || text.find_first_of("xX") != text.npos) {
            return std::nullopt;
        }
        const std::string copy(text);
        char *end = nullptr;
        errno = 0;
        if constexpr (std::is_same_v<T, float>) {
            value = std::strtof(copy.c_str(), &end);
        } else if constexpr (std::is_same_v<T, double>) {
            value = std::strtod(copy.c_str(), &end);
        } else {
            value = std::strtold(copy.c_str(), &end);
        }
        const bool fits = errno != ERANGE || (value != 0 && value - value == 0);
        return fits && end != copy.c_str() && end == copy.c_str() + copy.size()
                   ? std::optional<T>(value)
                   : std::nullopt;
#endif
    } else {
        static_assert(std::is_same_v<T, std::vector<std::string>>, "no value of this type");
        T items;
        while (!text.empty()) {
            bool is_quoted = false;
            std::size_t comma = 0;
            for (; comma < text.size() && (is_quoted || text[comma] != ','); ++comma) {
                is_quoted ^= text[comma] == '"';
            }
            std::string_view item = trimmed(text.substr(0, comma));
            if (item.size() > 1 && item.front() == '"' && item.back() == '"') {
                item = item.substr(1, item.size() - 2);
            }
            items.emplace_back(item);
            text.remove_prefix(comma < text.size() ? comma + 1 : comma);
        }
        return items;
    }
}
} // namespace detail

/// An INI document. It owns its lines, releases them with XELP_IniFreeIniStruct() and can be moved;
/// a save consumes it.
class document {
    XELP_IN_S_INI_FILE_STRUCT doc_{};

    document() noexcept = default;
    static errc error_from(QAL_UINT32 status) noexcept
    {
        return status == XELP_ERR_INI_OK ? errc{}
                                         : static_cast<errc>(error_number(module::ini, status));
    }

  public:
    /// A list of items: a value split at the commas outside quotation marks. Blanks around an item
    /// are removed, and then a pair of quotation marks around it. A backslash does not escape a
    /// quotation mark. A comma at the end adds no item.
    using list = std::vector<std::string>;

    /// Loads a file: XELP_IniGetFileContent().
    static result<document> load(const c_text &filename) noexcept
    {
        document loaded;
        const errc error = error_from(XELP_IniGetFileContent(filename.get(), &loaded.doc_));
        if (error != errc{}) {
            return error;
        }
        return loaded;
    }

    document(document &&other) noexcept : doc_(std::exchange(other.doc_, {})) {}
    document &operator=(document &&other) noexcept
    {
        document taken(std::move(other));
        return std::swap(doc_, taken.doc_), *this;
    }
    ~document()
    {
        if (doc_.pStrLine != nullptr) {
            XELP_IniFreeIniStruct(&doc_);
        }
    }

    /// The record, for calls that this class does not wrap; all zero in a moved-from document.
    XELP_IN_S_INI_FILE_STRUCT &record() noexcept { return doc_; }
    const XELP_IN_S_INI_FILE_STRUCT &record() const noexcept { return doc_; }
    bool is_changed() const noexcept { return doc_.ulLabel != 0; }

    /// The value of a key: XELP_IniGetKeyValue().
    result<ini_text> get(const c_text &section, const c_text &key) const noexcept
    {
        QAL_INT8 *value = nullptr;
        const QAL_UINT32 status = XELP_IniGetKeyValue(&doc_, section.get(), key.get(), &value);
        if (status != XELP_ERR_INI_OK) {
            return error_from(status);
        }
        return ini_text(value);
    }

    /// The value of a key as an integer (decimal, or hexadecimal after 0x), a bool (1, true, yes,
    /// on and 0, false, no, off in any case), a floating-point number, a std::string or a list.
    /// Blanks and line ends around the value are ignored. The call fails with errc::ini_key_value
    /// if it cannot read the whole value, if the value does not fit the type, or if a number begins
    /// with a plus sign. It fails in the same way if the key has no value, unless the type is a
    /// string or a list.
    template <typename T>
    result<T> get(const c_text &section, const c_text &key) const
    {
        const result<ini_text> value = get(section, key);
        if (!value) {
            return value.error();
        }
        std::optional<T> read = detail::read_as<T>(detail::trimmed(*value));
        return read ? result<T>(*std::move(read)) : result<T>(errc::ini_key_value);
    }

    /// The value that get() returns, or @p fallback if get() fails. If @p fallback is a text, the
    /// type is std::string.
    template <typename T>
    auto get_or(const c_text &section, const c_text &key, T fallback) const
    {
        using value_type =
            std::conditional_t<std::is_convertible_v<T, std::string_view>, std::string, T>;
        result<value_type> value = get<value_type>(section, key);
        return value ? *std::move(value) : value_type(std::move(fallback));
    }

    bool contains(const c_text &section, const c_text &key) const noexcept
    {
        return get(section, key).has_value();
    }

    /// The names of all sections: XELP_IniGetSectionList().
    ini_names sections() const noexcept
    {
        QAL_INT8 **names = nullptr;
        QAL_UINT32 size = 0;
        const errc error = error_from(XELP_IniGetSectionList(&doc_, &size, &names));
        return error == errc{} ? ini_names(names, size) : ini_names(error);
    }

    /// The names of the keys in the last block of a section: XELP_IniGetKeyList().
    ini_names keys(const c_text &section) const noexcept
    {
        QAL_INT8 **names = nullptr;
        QAL_UINT32 size = 0;
        const errc error = error_from(XELP_IniGetKeyList(&doc_, section.get(), &size, &names));
        return error == errc{} ? ini_names(names, size) : ini_names(error);
    }

    /// Sets the value of a key; a null pointer counts as an empty value: XELP_IniSetKeyValue().
    result<void> set(const c_text &section, const c_text &key, const c_text &value) noexcept
    {
        return error_from(XELP_IniSetKeyValue(&doc_, section.get_mutable(), key.get_mutable(),
                                              value.get_mutable()));
    }

    /// Sets the value of a key to a number in decimal, or to `true` or `false`.
    template <typename Number, typename = std::enable_if_t<std::is_arithmetic_v<Number>>>
    result<void> set(const c_text &section, const c_text &key, Number value) noexcept
    {
        if constexpr (std::is_same_v<Number, bool>) {
            return set(section, key, value ? "true" : "false");
        } else {
            std::array<char, 64> text{};
            std::to_chars(text.data(), text.data() + text.size() - 1, value);
            return set(section, key, text.data());
        }
    }

    /// Adds a section that does not exist yet: XELP_IniSetKeyValue() with a null key.
    result<void> add_section(const c_text &section) noexcept
    {
        return set(section, nullptr, nullptr);
    }

    /// Deletes every block of a section: XELP_IniDelSection().
    result<void> erase(const c_text &section) noexcept
    {
        return error_from(XELP_IniDelSection(&doc_, section.get()));
    }

    /// Deletes every line of a key in every block of a section: XELP_IniDelKey().
    result<void> erase(const c_text &section, const c_text &key) noexcept
    {
        return error_from(XELP_IniDelKey(&doc_, section.get(), key.get()));
    }

    /// Checks the document against the strict grammar: XELP_IniCheckFile().
    /// @param[out] slot  receives the number of the slot that the check reached, counted from 1, or
    ///                   0 if it reached none; may be null
    result<void> check(QAL_UINT32 *slot = nullptr) const noexcept
    {
        QAL_UINT32 reached = 0;
        const QAL_UINT32 status = XELP_IniCheckFile(&doc_, &reached);
        if (slot != nullptr) {
            *slot = reached;
        }
        return error_from(status);
    }

    /// Writes the document to a file, unless it is unchanged: XELP_IniSaveFileContent(). A save
    /// empties the document whatever the result, so write `std::move(doc).save(name)`.
    result<void> save(const c_text &filename) &&noexcept
    {
        return error_from(XELP_IniSaveFileContent(filename.get(), &doc_));
    }
};

/// @}

} // namespace wyx

template <>
struct std::is_error_code_enum<wyx::errc> : std::true_type {};

#endif
