#include "../slink/slink_list.h"
#include "list_program.h"

WYX_FUZZ_TARGET(slink)
{
    wyx::test::fuzz::RunListProgram<wyx::test::SLink>(input);
}
