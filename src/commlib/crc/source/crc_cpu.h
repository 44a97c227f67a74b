// What the checksums may take for granted of the CPU, by the compiler's feature macros.
#ifndef WYX_COMMLIB_CRC_SOURCE_CRC_CPU_H
#define WYX_COMMLIB_CRC_SOURCE_CRC_CPU_H

// Carry-less multiplication of words, and picking bytes by their places.
#if (defined(__PCLMUL__) && defined(__SSSE3__)) || \
    (defined(__aarch64__) && defined(__ARM_FEATURE_AES))
#define WYX_CRC_HAS_CLMUL 1
#endif

// The same for four words at once, picking bytes from 64 of them.
#if defined(__PCLMUL__) && defined(__VPCLMULQDQ__) && defined(__AVX512BW__) && \
    defined(__AVX512VBMI__)
#define WYX_CRC_HAS_CLMUL512 1
#endif

// The instructions for CRC-32 itself.
#if defined(__aarch64__) && defined(__ARM_FEATURE_CRC32)
#define WYX_CRC_HAS_CRC32_INSTRUCTIONS 1
#endif

#endif
