// The same work, done by the C++ layer and by the C calls. compare_code.cmake compares the machine
// code of the two.
#include "wyx_commlib/wyx.hpp"

extern "C" {

QAL_UINT32 CrcByLayer(const std::array<QAL_UINT8, 64> &message);
QAL_UINT32 CrcByCalls(const std::array<QAL_UINT8, 64> &message);
bool GetByLayer(const wyx::document &doc, bool (*use)(const char *));
bool GetByCalls(const XELP_IN_S_INI_FILE_STRUCT &doc, bool (*use)(const char *));

QAL_UINT32 CrcByLayer(const std::array<QAL_UINT8, 64> &message)
{
    return wyx::crc32(message);
}

QAL_UINT32 CrcByCalls(const std::array<QAL_UINT8, 64> &message)
{
    QAL_UINT32 ulCrc = 0;
    XELP_CRC_Accumulate_32(ulCrc, message.data(), 64, &ulCrc);
    return ulCrc;
}

bool GetByLayer(const wyx::document &doc, bool (*use)(const char *))
{
    const auto value = doc.get("net", "port");
    return value && use(value->c_str());
}

bool GetByCalls(const XELP_IN_S_INI_FILE_STRUCT &doc, bool (*use)(const char *))
{
    QAL_INT8 *pszValue = nullptr;
    if (XELP_IniGetKeyValue(&doc, "net", "port", &pszValue) != XELP_ERR_INI_OK) {
        return false;
    }
    const bool isFine = use(pszValue != nullptr ? pszValue : "");
    if (pszValue != nullptr) {
        XELP_MemFreeD(pszValue, __LINE__, __FILE__);
    }
    return isFine;
}
}
