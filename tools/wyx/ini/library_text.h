// Strings and lists that the library hands over.
#ifndef WYX_TOOL_LIBRARY_TEXT_H
#define WYX_TOOL_LIBRARY_TEXT_H

#include <memory>

#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"

namespace wyx::tool {

struct ReleaseText {
    void operator()(QAL_INT8 *psz) const { XELP_MemFreeD(psz, __LINE__, __FILE__); }
};
using LibraryText = std::unique_ptr<QAL_INT8, ReleaseText>;

struct ReleaseList {
    void operator()(QAL_INT8 **ppsz) const { XELP_IniFreeList(ppsz); }
};
using LibraryList = std::unique_ptr<QAL_INT8 *, ReleaseList>;

} // namespace wyx::tool

#endif
