/**
 * @file crc.h
 * @brief CRC-16 and CRC-32 of a buffer, in one call or piece by piece.
 *
 * Both start from 0 and are not inverted at the end, so XELP_CRC_32() differs from zlib's crc32().
 * Stored checksums depend on this. Zero bytes at the start of a message do not change its CRC. A
 * CRC detects most accidental changes, but not attacks: anyone can construct a message that has a
 * given CRC.
 *
 * No call allocates, keeps a pointer or holds state, and any number of threads may call at once.
 *
 * @code{.c}
 * QAL_UINT32 crc = 0; // for a new message
 * XELP_CRC_Accumulate_32(crc, header, headerLen, &crc);
 * XELP_CRC_Accumulate_32(crc, body, bodyLen, &crc); // the CRC-32 of header and body together
 * @endcode
 */
#ifndef WYX_COMMLIB_CRC_H
#define WYX_COMMLIB_CRC_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** Statuses of the CRC-16 calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpCRC16_ErrCode WYX_ENUM32 {
    XELP_ERR_CRC16_INVALID_PARA = 10, /**< a pointer is null; nothing was written */
    XELP_ERR_CRC16_BUTT = 100         /**< end marker, never returned */
} xelpCRC16_ErrCode;

/** Statuses of the CRC-32 calls; 0 is success. The values are ABI: never renumbered or reused. */
typedef enum xelpCRC_ErrCode WYX_ENUM32 {
    XELP_ERR_CRC_INVALID_PARA = 10, /**< a pointer is null; nothing was written */
    XELP_ERR_CRC_BUTT = 100         /**< end marker, never returned */
} xelpCRC_ErrCode;

/**
 * @brief CRC-16 of a whole message.
 *
 * @param[in]  pucData    the message, borrowed; not null, even if it is empty
 * @param[in]  ulLen      its length in bytes; the CRC of an empty message is 0
 * @param[out] puwResult  the CRC-16; untouched on failure
 * @return 0, or #XELP_ERR_CRC16_INVALID_PARA for a null pointer.
 * @par Source
 * CRC-16/XMODEM: polynomial 0x1021, not reflected, initial value and final XOR 0. The CRC of
 * "123456789" is 0x31C3.
 */
WYX_API QAL_UINT32 XELP_CRC_16(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT16 *puwResult);

/**
 * @brief Continues a CRC-16 over the next piece of a message.
 *
 * @param[in]  uwCrc      the CRC of the pieces so far; 0 for a new message
 * @param[in]  pucData    the piece, borrowed; not null, even if it is empty
 * @param[in]  ulLen      its length in bytes; 0 leaves the CRC unchanged
 * @param[out] puwResult  the CRC of the pieces so far, this one included; untouched on failure
 * @return 0, or #XELP_ERR_CRC16_INVALID_PARA for a null pointer.
 */
WYX_API QAL_UINT32 XELP_CRC_Accumulate_16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData,
                                          QAL_UINT32 ulLen, QAL_UINT16 *puwResult);

/**
 * @brief CRC-32 of a whole message, without the usual inversions.
 *
 * @param[in]  pucData    the message, borrowed; not null, even if it is empty
 * @param[in]  ulLen      its length in bytes; the CRC of an empty message is 0
 * @param[out] pulResult  the CRC-32; untouched on failure
 * @return 0, or #XELP_ERR_CRC_INVALID_PARA for a null pointer.
 * @par Source
 * Polynomial 0x04C11DB7, reflected (0xEDB88320), initial value and final XOR 0. The CRC of
 * "123456789" is 0x2DFD2D88. The common CRC-32 (0xCBF43926 for the same text) is the bitwise
 * complement of XELP_CRC_Accumulate_32() started from 0xFFFFFFFF.
 */
WYX_API QAL_UINT32 XELP_CRC_32(const QAL_UINT8 *pucData, QAL_UINT32 ulLen, QAL_UINT32 *pulResult);

/**
 * @brief Continues a CRC-32 over the next piece of a message.
 *
 * @param[in]  ulCrc      the CRC of the pieces so far; 0 for a new message
 * @param[in]  pucData    the piece, borrowed; not null, even if it is empty
 * @param[in]  ulLen      its length in bytes; 0 leaves the CRC unchanged
 * @param[out] pulResult  the CRC of the pieces so far, this one included; untouched on failure
 * @return 0, or #XELP_ERR_CRC_INVALID_PARA for a null pointer.
 */
WYX_API QAL_UINT32 XELP_CRC_Accumulate_32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData,
                                          QAL_UINT32 ulLen, QAL_UINT32 *pulResult);

WYX_C_END

#endif
