// The building blocks of MD5. They are exported, but not declared in the public header: their names
// are so common that they could clash with those of programs that include it.
#ifndef WYX_COMMLIB_MD5_ARTH_INTERNAL_H
#define WYX_COMMLIB_MD5_ARTH_INTERNAL_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/// Updates the state with one block. The block may have any alignment.
WYX_API void MD5Transform(QAL_UINT32 state[4], const QAL_UINT8 block[64]);

/// Writes words as @p len bytes, low byte first; @p len is a multiple of 4.
WYX_API void Encode(QAL_UINT8 *output, const QAL_UINT32 *input, QAL_UINT len);

/// Reads words from @p len bytes, low byte first; @p len is a multiple of 4.
WYX_API void Decode(QAL_UINT32 *output, const QAL_UINT8 *input, QAL_UINT len);

WYX_C_END

#endif
