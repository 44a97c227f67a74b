// Uses the library; returns 0 if it works.
#include <string>

#include "wyx_commlib/commlib.h"

int main()
{
    const std::string text = "123456789";
    QAL_UINT16 crc = 0;
    const QAL_UINT32 status = XELP_CRC_16(reinterpret_cast<const QAL_UINT8 *>(text.data()),
                                          static_cast<QAL_UINT32>(text.size()), &crc);
    return status == 0 && crc == 0x31C3 ? 0 : 1;
}
