// The calls that both linked lists have, each under its own prefix, with the same arguments. Init
// is not among them: only one of the lists takes a capacity.
#ifndef WYX_TESTS_SUPPORT_LIST_CALLS_H
#define WYX_TESTS_SUPPORT_LIST_CALLS_H

/// Expands declare(prefix, name) for each call prefix_name.
#define WYX_EACH_LIST_CALL(declare, prefix)                                                      \
    declare(prefix, Deinit) declare(prefix, Insert) declare(prefix, Remove)                      \
        declare(prefix, Delete) declare(prefix, Query) declare(prefix, Get_NodeNumber)           \
            declare(prefix, Set_CurPtr) declare(prefix, Get_CurNode) declare(prefix, PriorPtr)   \
                declare(prefix, NextPtr) declare(prefix, Get_PriorNode)                          \
                    declare(prefix, Get_NextNode) declare(prefix, Get_HeadNode)                  \
                        declare(prefix, Get_TailNode) declare(prefix, Remove_CurNode)            \
                            declare(prefix, Remove_HeadNode) declare(prefix, Remove_TailNode)    \
                                declare(prefix, Delete_CurNode) declare(prefix, Delete_HeadNode) \
                                    declare(prefix, Delete_TailNode) declare(prefix, Process_List)

#endif
