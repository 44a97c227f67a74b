// Loading a file. If the input says so, an allocation fails, alone or with all later ones.
#include "../ini_parser/ini_support.h"
#include "../ini_parser/models.h"
#include "fuzz_support.h"

using namespace wyx::test;

WYX_FUZZ_TARGET(ini_parser_load)
{
    // Most inputs load undisturbed: a first byte of 0x20 or above, such as a letter, plans no
    // failure.
    const QAL_UINT8 ucPlan = input.Byte();
    const QAL_UINT32 ulFailAt = ucPlan < 0x20 ? ucPlan / 2U : 0U;
    const Failure failure = ucPlan % 2 == 0 ? Failure::kOnce : Failure::kFromThere;
    const std::string_view file = input.Rest();

    PlatformDouble &platform = PlatformDouble::Instance();
    platform.UseMemoryDisk()["f"] = file;
    platform.StartRecording();
    if (ulFailAt != 0) {
        platform.Fail(Service::kAllocate, ulFailAt, failure);
    }
    XELP_IN_S_INI_FILE_STRUCT doc;
    std::memset(&doc, 0xA5, sizeof doc);
    const QAL_UINT32 ulStatus = XELP_IniGetFileContent("f", &doc);

    Snapshot expected;
    model::Heap heap(ulFailAt, failure);
    EXPECT_EQ(ulStatus, model::Load(file, expected, heap));
    EXPECT_EQ(Look(doc), expected);
    EXPECT_EQ(platform.MemoryTrace(), heap.Trace());
    EXPECT_EQ(platform.LiveFiles(), 0U);
    XELP_IniFreeIniStruct(&doc);
}
