// The C++ layer over the library and the default adapter. This program is built once for each C++
// standard, without exceptions and RTTI.
#include "wyx_commlib/wyx.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <sstream>

#include "temp_folder.h"
#include "wyx_commlib/wyx.hpp"

static_assert(WYX_TEST_STANDARD == 17 || __cplusplus > 201703L);
static_assert(WYX_TEST_STANDARD != 17 || __cplusplus == 201703L);
static_assert(!std::is_copy_constructible_v<wyx::document>);
static_assert(std::is_nothrow_move_constructible_v<wyx::document>);
static_assert(std::is_error_code_enum_v<wyx::errc>);

namespace {

constexpr const char *kText =
    "; a client\n"
    "[Net]\n"
    "port = 5060 ;sip\n"
    "hex=0x1F\n"
    "negative = -5\n"
    "ratio = 2.5\n"
    "on = Yes\n"
    "off = FALSE\n"
    "codecs = opus, \"a,b\" ,pcmu\n"
    "none= ;nothing\n"
    "big = 5000000000\n"
    "[Empty]\n";

class Layer : public testing::Test {
  protected:
    wyx::test::TempFolder folder_;
    std::string file_ = folder_.Make("net.ini", kText);

    wyx::document Load() const { return *wyx::document::load(file_); }
};

// ---- results and errors

TEST_F(Layer, LoadReturnsADocument)
{
    const auto doc = wyx::document::load(file_);
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc.error(), wyx::errc{});
    EXPECT_EQ(doc.status(), 0U);
    EXPECT_STREQ(doc.message(), "success");
    EXPECT_EQ(doc->record().ulLineNum, 12U);
    EXPECT_FALSE(doc->is_changed());
}

TEST_F(Layer, FailureHasStatusTextAndCode)
{
    const auto doc = wyx::document::load(folder_.File("missing.ini"));
    ASSERT_FALSE(doc);
    EXPECT_EQ(doc.error(), wyx::errc::ini_open_file);
    EXPECT_EQ(doc.status(), static_cast<QAL_UINT32>(XELP_ERR_INI_OPEN_FILE));
    EXPECT_STREQ(doc.message(), wyx_ini_status_text(XELP_ERR_INI_OPEN_FILE));
    const std::error_code code = doc.code();
    EXPECT_EQ(code, wyx::errc::ini_open_file);
    EXPECT_NE(code, wyx::errc::ini_key_not_found);
    EXPECT_STREQ(code.category().name(), "wyx");
    EXPECT_EQ(code.message(), doc.message());
}

TEST_F(Layer, EveryErrorHasItsStatusAndText)
{
    const std::pair<wyx::errc, QAL_UINT32> cases[] = {
        {wyx::errc::ini_section_not_found, 10}, {wyx::errc::ini_key_not_found, 20},
        {wyx::errc::ini_open_file, 30},         {wyx::errc::ini_create_file, 50},
        {wyx::errc::ini_file_format, 60},       {wyx::errc::ini_no_memory, 80},
        {wyx::errc::ini_value_null, 100},       {wyx::errc::ini_section, 110},
        {wyx::errc::ini_key_name, 120},         {wyx::errc::ini_empty, 130},
        {wyx::errc::ini_line_too_long, 140},    {wyx::errc::ini_line_unknown, 160},
        {wyx::errc::ini_argument, 170},         {wyx::errc::ini_write_file, 180},
        {wyx::errc::ini_key_value, 180},        {wyx::errc::ini_comment, 190},
        {wyx::errc::address_malformed, 30},     {wyx::errc::base64_refused, 1},
    };
    for (const auto &[error, ulStatus] : cases) {
        EXPECT_EQ(wyx::status_of(error), ulStatus);
        EXPECT_STRNE(wyx::text_of(error), "success");
        EXPECT_STRNE(wyx::text_of(error), "unknown status");
        EXPECT_EQ(wyx::make_error_code(error).message(), wyx::text_of(error));
    }
    EXPECT_STREQ(wyx::text_of(wyx::errc{}), "success");
}

#if defined(__cpp_lib_expected)
TEST_F(Layer, ResultsBecomeStdExpected)
{
    std::expected<wyx::document, wyx::errc> doc = wyx::document::load(file_);
    ASSERT_TRUE(doc);
    EXPECT_EQ(doc->get_or("net", "port", 0), 5060);
    doc = wyx::document::load(folder_.File("missing.ini"));
    EXPECT_EQ(doc.error(), wyx::errc::ini_open_file);
    std::expected<void, wyx::errc> none = wyx::result<void>(wyx::errc::ini_comment);
    EXPECT_EQ(none.error(), wyx::errc::ini_comment);
    none = wyx::result<void>();
    EXPECT_TRUE(none);
}
#endif

// ---- lookups

TEST_F(Layer, GetReturnsTheValueAsTheFileHasIt)
{
    const wyx::document doc = Load();
    const auto value = doc.get("net", "port");
    ASSERT_TRUE(value);
    EXPECT_EQ(value->view(), "5060");
    EXPECT_EQ(value->str(), "5060");
    EXPECT_FALSE(value->is_null());
    EXPECT_EQ(std::string_view(*value), "5060");
}

TEST_F(Layer, GetOfAKeyWithoutValueIsNullAndEmpty)
{
    const auto value = Load().get("net", "none");
    ASSERT_TRUE(value);
    EXPECT_TRUE(value->is_null());
    EXPECT_STREQ(value->c_str(), "");
}

TEST_F(Layer, GetReportsWhatIsMissing)
{
    const wyx::document doc = Load();
    EXPECT_EQ(doc.get("net", "absent").error(), wyx::errc::ini_key_not_found);
    EXPECT_EQ(doc.get("absent", "port").error(), wyx::errc::ini_section_not_found);
    EXPECT_EQ(doc.get<int>("absent", "port").error(), wyx::errc::ini_section_not_found);
    EXPECT_EQ(doc.get("net", nullptr).error(), wyx::errc::ini_argument);
    EXPECT_TRUE(doc.contains("NET", "PORT"));
    EXPECT_FALSE(doc.contains("net", "absent"));
}

TEST_F(Layer, NamesMayBeAnyKindOfText)
{
    const wyx::document doc = Load();
    const std::string section = "net";
    const std::string_view inside = std::string_view("xportx").substr(1, 4);
    EXPECT_EQ(doc.get_or(section, inside, 0), 5060);
    EXPECT_EQ(doc.get_or(std::string_view(), inside, 7), 7);
}

TEST_F(Layer, TypedValues)
{
    const wyx::document doc = Load();
    EXPECT_EQ(*doc.get<int>("net", "port"), 5060);
    EXPECT_EQ(*doc.get<unsigned>("net", "hex"), 31U);
    EXPECT_EQ(*doc.get<int>("net", "negative"), -5);
    EXPECT_EQ(*doc.get<double>("net", "ratio"), 2.5);
    EXPECT_TRUE(*doc.get<bool>("net", "on"));
    EXPECT_FALSE(*doc.get<bool>("net", "off"));
    EXPECT_EQ(*doc.get<long long>("net", "big"), 5000000000LL);
    EXPECT_EQ(*doc.get<std::string>("net", "port"), "5060");
    EXPECT_EQ(*doc.get<wyx::document::list>("net", "codecs"),
              (wyx::document::list{"opus", "a,b", "pcmu"}));
    EXPECT_TRUE(doc.get<wyx::document::list>("net", "none")->empty());
}

TEST_F(Layer, ValuesThatDoNotFitTheTypeFail)
{
    const wyx::document doc = Load();
    EXPECT_EQ(doc.get<int>("net", "big").error(), wyx::errc::ini_key_value);
    EXPECT_EQ(doc.get<int>("net", "ratio").error(), wyx::errc::ini_key_value);
    EXPECT_EQ(doc.get<unsigned>("net", "negative").error(), wyx::errc::ini_key_value);
    EXPECT_EQ(doc.get<int>("net", "none").error(), wyx::errc::ini_key_value);
    EXPECT_EQ(doc.get<bool>("net", "port").error(), wyx::errc::ini_key_value);
    EXPECT_EQ(doc.get<double>("net", "on").error(), wyx::errc::ini_key_value);
}

TEST_F(Layer, NumbersInHexadecimal)
{
    for (const char *text : {"0x", "0x-1", "0xg", "x1", "1x", "--1", "+1", " "}) {
        wyx::document doc = Load();
        ASSERT_TRUE(doc.set("net", "hex", text));
        EXPECT_FALSE(doc.get<int>("net", "hex")) << text;
    }
    wyx::document doc = Load();
    ASSERT_TRUE(doc.set("net", "hex", "0Xff"));
    EXPECT_EQ(*doc.get<int>("net", "hex"), 255);
    EXPECT_EQ(doc.get<signed char>("net", "hex").error(), wyx::errc::ini_key_value);
}

TEST_F(Layer, FloatingPointNumbersAreReadTheSameByEveryStandardLibrary)
{
    for (const char *text : {"1e999", "1e-999", "0x10", "0x1p3", "+1.5", "1.5x", "-", "\v2.5"}) {
        wyx::document doc = Load();
        ASSERT_TRUE(doc.set("net", "ratio", text));
        EXPECT_EQ(doc.get<double>("net", "ratio").error(), wyx::errc::ini_key_value) << text;
    }
    wyx::document doc = Load();
    ASSERT_TRUE(doc.set("net", "ratio", " -1e39 "));
    EXPECT_EQ(*doc.get<double>("net", "ratio"), -1e39);
    EXPECT_EQ(doc.get<float>("net", "ratio").error(), wyx::errc::ini_key_value);
}

TEST_F(Layer, ListsLeaveOutBlanksQuotationMarksAndAnEmptyEnd)
{
    const std::pair<const char *, wyx::document::list> cases[] = {
        {"a,", {"a"}},
        {",a", {"", "a"}},
        {"a,,b", {"a", "", "b"}},
        {"\" a \" , \"b,c\"", {" a ", "b,c"}},
    };
    for (const auto &[text, items] : cases) {
        wyx::document doc = Load();
        ASSERT_TRUE(doc.set("net", "codecs", text));
        EXPECT_EQ(*doc.get<wyx::document::list>("net", "codecs"), items) << text;
    }
}

TEST_F(Layer, DefaultIsReturnedWheneverAGetFails)
{
    const wyx::document doc = Load();
    EXPECT_EQ(doc.get_or("net", "port", 1), 5060);
    EXPECT_EQ(doc.get_or("net", "absent", 1), 1);
    EXPECT_EQ(doc.get_or("net", "ratio", 1), 1);
    EXPECT_EQ(doc.get_or("net", "absent", true), true);
    EXPECT_EQ(doc.get_or("net", "absent", 1.5), 1.5);
    EXPECT_EQ(doc.get_or("net", "absent", "text"), "text");
    const std::string value = doc.get_or("net", "port", std::string_view("text"));
    EXPECT_EQ(value, "5060");
    EXPECT_EQ(doc.get_or("net", "absent", wyx::document::list{"x"}), wyx::document::list{"x"});
}

TEST_F(Layer, SectionsAndKeysAreRanges)
{
    const wyx::document doc = Load();
    std::string seen;
    for (const std::string_view section : doc.sections()) {
        seen += std::string(section) + ";";
    }
    EXPECT_EQ(seen, "Net;Empty;");
    const wyx::ini_names keys = doc.keys("net");
    ASSERT_EQ(keys.size(), 9U);
    EXPECT_EQ(keys[0], "port");
    EXPECT_EQ(std::distance(keys.begin(), keys.end()), 9);
    EXPECT_NE(std::find(keys.begin(), keys.end(), "ratio"), keys.end());
}

TEST_F(Layer, KeysOfAnEmptyOrMissingSectionAreEmptyWithAnError)
{
    const wyx::document doc = Load();
    EXPECT_TRUE(doc.keys("empty").empty());
    EXPECT_EQ(doc.keys("empty").error(), wyx::errc::ini_key_not_found);
    EXPECT_EQ(doc.keys("absent").status(), static_cast<QAL_UINT32>(XELP_ERR_INI_SECTION_NOT_FOUND));
    for (const std::string_view key : doc.keys("absent")) {
        ADD_FAILURE() << key;
    }
}

// ---- edits

TEST_F(Layer, EditsAndSaveWriteTheFile)
{
    wyx::document doc = Load();
    EXPECT_TRUE(doc.set("net", "port", 5061));
    EXPECT_TRUE(doc.set("net", "on", false));
    EXPECT_TRUE(doc.set("net", "ratio", 0.25));
    EXPECT_TRUE(doc.set("new", "key", std::string("value")));
    EXPECT_TRUE(doc.add_section("bare"));
    EXPECT_EQ(doc.add_section("bare").error(), wyx::errc::ini_argument);
    EXPECT_TRUE(doc.erase("net", "codecs"));
    EXPECT_EQ(doc.erase("net", "codecs").error(), wyx::errc::ini_key_not_found);
    EXPECT_TRUE(doc.erase("empty"));
    EXPECT_TRUE(doc.set("net", "none", nullptr));
    EXPECT_TRUE(doc.is_changed());
    ASSERT_TRUE(std::move(doc).save(file_));
    EXPECT_EQ(folder_.Content("net.ini"),
              "; a client\n[Net]\nport=5061 ;sip\nhex=0x1F\nnegative = -5\nratio=0.25\non=false\n"
              "off = FALSE\nnone= ;nothing\nbig = 5000000000\n[new]\nkey=value\n[bare]\n");
}

TEST_F(Layer, SaveConsumesTheDocumentWhateverTheResult)
{
    wyx::document doc = Load();
    EXPECT_TRUE(doc.set("net", "port", 1));
    EXPECT_EQ(std::move(doc).save(folder_.File("absent/net.ini")).error(),
              wyx::errc::ini_create_file);
    EXPECT_EQ(doc.record().pStrLine, nullptr);
    EXPECT_EQ(doc.get("net", "port").error(), wyx::errc::ini_argument);
    EXPECT_EQ(doc.set("net", "port", 1).error(), wyx::errc::ini_argument);
}

TEST_F(Layer, CheckReportsTheSlot)
{
    QAL_UINT32 slot = 99;
    folder_.Make("net.ini", "[a]\nx=1\n");
    EXPECT_TRUE(Load().check(&slot));
    EXPECT_EQ(slot, 2U);
    folder_.Make("net.ini", "[a]\nx y=1\n");
    EXPECT_EQ(Load().check(&slot).error(), wyx::errc::ini_key_name);
    EXPECT_EQ(slot, 2U);
    EXPECT_FALSE(Load().check());
}

TEST_F(Layer, MovesLeaveNothingDangling)
{
    wyx::document doc = Load();
    wyx::document other = std::move(doc);
    EXPECT_EQ(doc.record().pStrLine, nullptr);
    EXPECT_EQ(other.get_or("net", "port", 0), 5060);
    doc = std::move(other);
    EXPECT_EQ(doc.get_or("net", "port", 0), 5060);
    wyx::document full = Load();
    doc = std::move(full); // what doc held is released, not moved into full
    EXPECT_EQ(full.record().pStrLine, nullptr);
    wyx::document &same = doc;
    doc = std::move(same);
    EXPECT_EQ(doc.get_or("net", "port", 0), 5060);

    auto value = *doc.get("net", "port");
    wyx::ini_text taken = std::move(value);
    EXPECT_TRUE(value.is_null());
    EXPECT_EQ(value.view(), "");
    EXPECT_EQ(taken.view(), "5060");

    wyx::ini_names names = doc.sections();
    const wyx::ini_names moved = std::move(names);
    EXPECT_EQ(names.size(), 0U);
    EXPECT_EQ(names.begin(), names.end());
    EXPECT_EQ(moved.size(), 2U);

    wyx::base64_buffer buffer = *wyx::base64_encode("Man");
    const wyx::base64_buffer kept = std::move(buffer);
    EXPECT_EQ(buffer.size(), 0U);
    EXPECT_EQ(buffer.begin(), buffer.end());
    EXPECT_EQ(kept.view(), "TWFu");
}

TEST_F(Layer, ValuesOutliveTheDocument)
{
    auto doc = wyx::document::load(file_);
    const auto value = doc->get("net", "port");
    const wyx::ini_names keys = doc->keys("net");
    {
        const wyx::document gone = *std::move(doc);
    }
    EXPECT_EQ(value->view(), "5060");
    EXPECT_EQ(keys[1], "hex");
}

// ---- checksums, digests, Base64

TEST(LayerValues, ChecksumsOfAnythingContiguous)
{
    const std::string text = "123456789";
    EXPECT_EQ(wyx::crc16(text), 0x31C3U);
    EXPECT_EQ(wyx::crc32(text), 0x2DFD2D88U);
    EXPECT_EQ(wyx::crc32("123456789"), 0x2DFD2D88U);
    EXPECT_EQ(wyx::crc32(std::vector<char>(text.begin(), text.end())), 0x2DFD2D88U);
    EXPECT_EQ(wyx::crc32(std::string_view("6789"), wyx::crc32("12345")), 0x2DFD2D88U);
    EXPECT_EQ(wyx::crc16("6789", wyx::crc16("12345")), 0x31C3U);
    EXPECT_EQ(wyx::crc32(wyx::bytes(text.data(), 9)), 0x2DFD2D88U);
    const std::array<QAL_UINT16, 2> words{0x3231, 0x3433}; // two bytes per element
    EXPECT_EQ(wyx::crc32(words), wyx::crc32("1234"));
    const char array[] = {'1', '2', '3', '4'};
    EXPECT_EQ(wyx::crc32(wyx::bytes(array, sizeof array)), wyx::crc32("1234"));
    EXPECT_EQ(wyx::crc32(""), 0U);
    EXPECT_EQ(wyx::crc32(std::vector<char>(), 7), 7U);
}

TEST(LayerValues, Md5InOnePieceOrMany)
{
    EXPECT_EQ(wyx::md5_of("").hex().view(), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_STREQ(wyx::md5_of("abc").hex().c_str(), "900150983cd24fb0d6963f7d28e17f72");
    wyx::md5 sum;
    sum.update("a").update(std::vector<char>{'b'});
    wyx::md5 fork = sum;
    EXPECT_EQ(sum.update("c").finish(), wyx::md5_of("abc"));
    EXPECT_EQ(fork.finish(), wyx::md5_of("ab"));
    EXPECT_EQ(sum.update("abc").finish(), wyx::md5_of("abc")) << "finish() begins another message";
}

TEST(LayerValues, Base64IntoACallersContainer)
{
    std::string text = "before";
    ASSERT_TRUE(wyx::base64_encode("Man", text));
    EXPECT_EQ(text, "TWFu");
    std::list<QAL_UINT8> raw;
    ASSERT_TRUE(wyx::base64_decode(text, raw));
    EXPECT_EQ(raw, (std::list<QAL_UINT8>{'M', 'a', 'n'}));
    EXPECT_EQ(wyx::base64_decode(std::string_view("TWFuTWFu").substr(0, 4))->view(), "Man");
    ASSERT_TRUE(wyx::base64_encode("", text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(wyx::base64_decode(""));
    EXPECT_EQ(wyx::base64_decode(std::string("TW\0Fu", 5))->view(), "Man") << "a NUL is skipped";
}

TEST(LayerValues, Base64FailureLeavesTheContainer)
{
    std::string text = "before";
    const auto result = wyx::base64_decode("a b", text);
    EXPECT_EQ(result.error(), wyx::errc::base64_refused);
    EXPECT_STREQ(result.message(), "not Base64, too long, or no memory");
    EXPECT_EQ(text, "before");
    EXPECT_EQ(wyx::base64_decode(nullptr).error(), wyx::errc::base64_refused);
    EXPECT_EQ(wyx::base64_encode(wyx::bytes(&text, std::size_t{1} << 31)).error(),
              wyx::errc::base64_refused);
}

// ---- addresses

TEST(LayerValues, Ipv4ReadsAndPrintsItself)
{
    const auto plain = wyx::ipv4::parse("10.0.0.1");
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->number, 0x0A000001U);
    EXPECT_FALSE(plain->port);
    EXPECT_EQ(plain->text().view(), "10.0.0.1");
    const auto with = wyx::ipv4::parse(std::string("255.255.255.255:65535"));
    EXPECT_EQ(*with->port, 65535);
    EXPECT_EQ(with->text().view(), "255.255.255.255:65535");
    EXPECT_EQ(wyx::ipv4::parse("1.2.3.4:0")->text().view(), "1.2.3.4:0");
    EXPECT_NE(*wyx::ipv4::parse("1.2.3.4:0"), *wyx::ipv4::parse("1.2.3.4"));
    EXPECT_EQ(wyx::ipv4::parse("1.2.3").error(), wyx::errc::address_malformed);
    EXPECT_EQ(wyx::ipv4::parse(nullptr).status(), 10U);
    std::ostringstream out;
    out << *plain << ' ' << *wyx::ipv6::parse("::1");
    EXPECT_EQ(out.str(), "10.0.0.1 ::1");
}

TEST(LayerValues, Ipv6PrintsTheShortForm)
{
    const std::pair<const char *, const char *> cases[] = {
        {"::", "::"},
        {"::1", "::1"},
        {"1::", "1::"},
        {"2001:DB8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"1:0:0:2:0:0:0:3", "1:0:0:2::3"},
        {"0:0:1:2:3:4:5:6", "::1:2:3:4:5:6"},
        {"1:2:3:4:5:6:0:0", "1:2:3:4:5:6::"},
        {"ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff"},
        {"[FE80::1]:80", "[fe80::1]:80"},
    };
    for (const auto &[text, printed] : cases) {
        const auto address = wyx::ipv6::parse(text);
        ASSERT_TRUE(address) << text;
        EXPECT_EQ(address->text().view(), printed);
        EXPECT_EQ(*wyx::ipv6::parse(address->text().c_str()), *address) << text;
    }
    wyx::ipv6 longest;
    longest.octets.fill(0xFF);
    longest.port = 65535;
    EXPECT_EQ(longest.text().view(), "[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]:65535");
    EXPECT_EQ(wyx::ipv6::parse("1:2").error(), wyx::errc::address_malformed);
}

// ---- texts of statuses

TEST(StatusText, ExistsForEveryNumber)
{
    EXPECT_STREQ(wyx_ini_status_text(XELP_ERR_INI_OPEN_FILE),
                 "the file cannot be opened for reading");
    EXPECT_STREQ(wyx_dlink_status_text(XELP_ERR_DLL_FIND), "no element matches");
    EXPECT_STREQ(wyx_slink_status_text(XELP_ERR_SLL_FULL), "no free slot");
    EXPECT_STREQ(wyx_hash_status_text(XELP_ERR_HASH_FIND), "no entry has the key");
    EXPECT_STREQ(wyx_crc16_status_text(XELP_ERR_CRC16_INVALID_PARA), "a pointer is null");
    EXPECT_STREQ(wyx_crc32_status_text(XELP_ERR_CRC_INVALID_PARA), "a pointer is null");
    EXPECT_STREQ(wyx_address_status_text(XELP_ERR_PARSE_IPV4V6_INVALID), "the text is malformed");
    for (const auto text : {wyx_crc16_status_text, wyx_crc32_status_text, wyx_dlink_status_text,
                            wyx_slink_status_text, wyx_hash_status_text, wyx_ini_status_text,
                            wyx_address_status_text}) {
        EXPECT_STREQ(text(0), "success");
        EXPECT_STRNE(text(10), "unknown status");
        EXPECT_STREQ(text(11), "unknown status");
        EXPECT_STREQ(text(0xFFFFFFFFU), "unknown status");
    }
}

} // namespace
