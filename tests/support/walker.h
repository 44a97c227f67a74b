// Walks over a container of letters.
#ifndef WYX_TESTS_SUPPORT_WALKER_H
#define WYX_TESTS_SUPPORT_WALKER_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "letters.h"
#include "wyx_commlib/types.h"

namespace wyx::test {

/// A walk by a Process_List call, whose callback records the letters it visits and does what a test
/// requests.
template <auto pfunProcess>
struct Walker {
    std::function<QAL_UINT32(char)> onVisit = nullptr;
    std::string visited = "";

    QAL_UINT32 Walk(void *pContainer) { return pfunProcess(pContainer, Visit, this, nullptr); }

    static QAL_UINT32 Visit(void *pSelf, void *pUserNode, void **)
    {
        Walker &self = *static_cast<Walker *>(pSelf);
        self.visited += Letter(pUserNode);
        if (self.visited.size() > 50) {
            ADD_FAILURE() << "a walk without end";
            return 1;
        }
        return self.onVisit ? self.onVisit(Letter(pUserNode)) : 0;
    }
};

} // namespace wyx::test

#endif
