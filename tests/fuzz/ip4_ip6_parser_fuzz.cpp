// The scanner and both address parsers on one text, against the model of their grammar.
//
// The text is in a block that ends with its terminator: no byte after that may be read.
#include "../ip4_ip6_parser/address_model.h"
#include "fuzz_support.h"
#include "wyx_commlib/ip4_ip6_parser.h"

namespace {

using namespace wyx::test;
using fuzz::Text;

constexpr QAL_UINT16 kUntouched = 0xA55A;

/// A reader's cursor at the start of a text, and where it is afterwards.
class Cursor {
  public:
    explicit Cursor(std::string_view text)
        : text_(text), size_(text.size()), buf_{text_.Get(), static_cast<QAL_INT>(text.size())}
    {}
    Parse_Ipv4v6_S_BUF_PTR Get() { return &buf_; }
    std::size_t Place() const
    {
        const auto place = static_cast<std::size_t>(buf_.cur_bp - text_.Get());
        EXPECT_EQ(static_cast<std::size_t>(buf_.cur_bp_rem_len), size_ - place);
        return place;
    }

  private:
    Text text_;
    std::size_t size_;
    Parse_Ipv4v6_S_BUF buf_;
};

void CompareReaders(std::string_view text)
{
    for (const QAL_INT32 lBase : {10, 16}) {
        const Number expected = ModelNumber(text, lBase);
        Cursor cursor(text);
        QAL_UINT16 uwValue = kUntouched;
        const QAL_UINT32 ulStatus = core_td_u16(&uwValue, lBase, cursor.Get());
        EXPECT_EQ(ulStatus, expected.consumed == 0 ? XELP_ERR_PARSE_IPV4V6_INVALID : 0U);
        EXPECT_EQ(cursor.Place(), expected.consumed);
        EXPECT_EQ(uwValue,
                  expected.consumed == 0 ? kUntouched : static_cast<QAL_UINT16>(expected.value));
    }
    {
        const GroupRun expected = ModelGroup(text, 0);
        Cursor cursor(text);
        QAL_UINT16 uwGroup = kUntouched;
        EXPECT_EQ(core_td_hex4(&uwGroup, cursor.Get()), expected.status);
        EXPECT_EQ(cursor.Place(), expected.end);
        QAL_UINT16 uwExpected = 0;
        if (expected.status == 0) {
            uwExpected = static_cast<QAL_UINT16>(static_cast<QAL_UINT8>(expected.bytes[0]) << 8 |
                                                 static_cast<QAL_UINT8>(expected.bytes[1]));
        }
        EXPECT_EQ(uwGroup, uwExpected);
    }
    {
        const GroupRun expected = ModelGroups(text, 0);
        Cursor cursor(text);
        const fuzz::Block bytes(std::string(16, '\x5A'));
        QAL_UINT32 ulLen = kUntouched;
        EXPECT_EQ(core_td_hexseq(bytes.Data(), &ulLen, cursor.Get()), expected.status);
        EXPECT_EQ(cursor.Place(), expected.end);
        std::string whole = expected.bytes;
        EXPECT_EQ(ulLen, whole.size());
        whole.resize(16, '\x5A');
        EXPECT_EQ(std::string_view(reinterpret_cast<const char *>(bytes.Data()), 16), whole);
    }
}

} // namespace

WYX_FUZZ_TARGET(ip4_ip6_parser)
{
    const std::string_view bytes = input.Rest();
    const std::string_view text = bytes.substr(0, bytes.find('\0'));
    CompareReaders(text);

    const Text copy(text);
    Ipv4 ipv4{0, 1, 1};
    ipv4.status = XELP_Parse_IPV4(copy.Get(), &ipv4.address, &ipv4.port);
    const Ipv4 expected4 = ModelIpv4(text);
    EXPECT_EQ(ipv4.status, expected4.status);
    EXPECT_EQ(ipv4.address, expected4.address);
    EXPECT_EQ(ipv4.port, expected4.port);

    Ipv6Output before;
    before.address.fill(0x5A);
    before.port = kUntouched;
    Ipv6Output output = before;
    const QAL_UINT32 ulStatus = XELP_Parse_IPV6(copy.Get(), output.address.data(), &output.port);
    const Ipv6 expected6 = ModelIpv6(text);
    EXPECT_EQ(ulStatus, expected6.status);
    EXPECT_TRUE(output == expected6.output.value_or(before));
}
