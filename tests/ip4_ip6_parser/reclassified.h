// A caller's changes to the table of character classes.
#ifndef WYX_TESTS_IP4_IP6_PARSER_RECLASSIFIED_H
#define WYX_TESTS_IP4_IP6_PARSER_RECLASSIFIED_H

#include "wyx_commlib/ip4_ip6_parser.h"

namespace wyx::test {

/// Changes the classes of a byte for as long as the object lives.
class Reclassified {
  public:
    Reclassified(char ch, QAL_UINT32 ulClasses)
        : ulEntry_(QAL_CHARset[static_cast<unsigned char>(ch)]), ulBefore_(ulEntry_)
    {
        ulEntry_ = ulClasses;
    }
    ~Reclassified() { ulEntry_ = ulBefore_; }
    Reclassified(const Reclassified &) = delete;
    Reclassified &operator=(const Reclassified &) = delete;

  private:
    QAL_UINT32 &ulEntry_;
    QAL_UINT32 ulBefore_;
};

} // namespace wyx::test

#endif
