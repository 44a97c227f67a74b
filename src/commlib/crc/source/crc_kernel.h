// The CPU forms of the checksums, which differ in the CPU features that they need, and the choice
// of the form that the library uses.
//
// Every form computes the same values as Crc16Plain() and Crc32Plain(). A form exists only where
// the compiler may assume the CPU features that the form needs. The library's form is chosen when
// the library is compiled; nothing is detected at run time. No level of x86-64 up to v4 includes
// carry-less multiplication. To enable it, name a CPU with -march, such as haswell (clmul) or
// icelake-server (clmul512).
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_KERNEL_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_KERNEL_H

#include "wyx_commlib/types.h"

#if (defined(__PCLMUL__) && defined(__SSSE3__)) || \
    (defined(__aarch64__) && defined(__ARM_FEATURE_AES))
#define WYX_CRC_HAS_CLMUL 1
#endif
#if defined(__PCLMUL__) && defined(__VPCLMULQDQ__) && defined(__AVX512BW__) && \
    defined(__AVX512VBMI__)
#define WYX_CRC_HAS_CLMUL512 1
#endif
#if defined(__aarch64__) && defined(__ARM_FEATURE_CRC32)
#define WYX_CRC_HAS_AARCH64 1
#endif

namespace wyx::crc {

/// For any CPU: folds by sparse multiples of the polynomials, with shifts and XORs.
namespace sparse {
QAL_UINT16 Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
} // namespace sparse

/// Uses the CRC-32 instructions of AArch64. There are none for CRC-16.
namespace aarch64 {
using sparse::Crc16;
QAL_UINT32 Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
} // namespace aarch64

/// Folds by carry-less multiplication of 64-bit words: PCLMULQDQ with SSSE3, or PMULL.
namespace clmul {
QAL_UINT16 Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
} // namespace clmul

/// The same, four vectors at once: VPCLMULQDQ with AVX-512.
namespace clmul512 {
QAL_UINT16 Crc16(QAL_UINT16 uwCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
QAL_UINT32 Crc32(QAL_UINT32 ulCrc, const QAL_UINT8 *pucData, QAL_UINT32 ulLen);
} // namespace clmul512

#if defined(WYX_CRC_HAS_CLMUL512)
namespace kernel = clmul512;
#elif defined(WYX_CRC_HAS_CLMUL)
namespace kernel = clmul;
#elif defined(WYX_CRC_HAS_AARCH64)
namespace kernel = aarch64;
#else
namespace kernel = sparse;
#endif

} // namespace wyx::crc

#endif
