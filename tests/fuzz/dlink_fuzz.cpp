#include "../dlink/dlink_list.h"
#include "list_program.h"

WYX_FUZZ_TARGET(dlink)
{
    wyx::test::fuzz::RunListProgram<wyx::test::DLink>(input);
}
