// The containers. Only Init and the operations that store something allocate. All others must
// request nothing from the platform, so that none of its failures can reach them; this is checked
// as well.
#include <string>

#include "letters.h"
#include "list_calls.h"
#include "number_keys.h"
#include "trial.h"
#include "wyx_commlib/dlink.h"
#include "wyx_commlib/hash.h"
#include "wyx_commlib/slink.h"

namespace {

using wyx::test::Letter;
using wyx::test::ReleaseKey;
using wyx::test::Service;
using wyx::test::Trial;
using wyx::test::User;

/// An operation and its exported name.
template <typename Function>
struct Operation {
    const char *pszName;
    Function *pfun;
};
template <typename Function>
Operation(const char *, Function *) -> Operation<Function>;

#define WYX_OPERATION(prefix, name) \
    static constexpr Operation name{#prefix "_" #name, prefix##_##name};

/// Calls an operation under the trial's fault.
template <typename Function, typename... Arguments>
QAL_UINT32 Do(Trial &trial, const Operation<Function> &operation, Arguments... arguments)
{
    return trial.Do(operation.pszName, [&] { return operation.pfun(arguments...); });
}

/// The same for an operation that must not request anything from the platform.
template <typename Function, typename... Arguments>
QAL_UINT32 DoPure(Trial &trial, const Operation<Function> &operation, Arguments... arguments)
{
    const QAL_UINT32 ulStatus = Do(trial, operation, arguments...);
    for (std::size_t i = 0; i < static_cast<std::size_t>(Service::kCount); ++i) {
        EXPECT_EQ(trial.Calls(static_cast<Service>(i)), 0U) << operation.pszName;
    }
    return ulStatus;
}

// ---- user nodes: letters ----

std::string g_released;

QAL_UINT32 IsLetter(const void *pCondition, void *pUserNode)
{
    return Letter(pCondition) == Letter(pUserNode) ? 0 : 1;
}

void Release(void *pUserNode)
{
    g_released += Letter(pUserNode);
}

QAL_UINT32 Append(void *pText, void *pUserNode, void **)
{
    *static_cast<std::string *>(pText) += Letter(pUserNode);
    return 0;
}

// ---- both lists ----

struct DLink {
    static constexpr QAL_UINT32 kMemory = XELP_ERR_DLL_MEMORY;
    static constexpr QAL_UINT32 kInvalid = XELP_ERR_DLL_INVALID_PARA;
    static constexpr bool kAllocatesNodes = true;
    static constexpr auto kYes = XELP_DLL_FreeUserNode_Yes;
    static constexpr auto Position = [](QAL_UINT32 ul) {
        return static_cast<XELP_E_DLL_Insert_Position>(ul);
    };
    template <typename... Arguments>
    static QAL_UINT32 Init(Trial &trial, Arguments... arguments)
    {
        return WYX_CALL(XELP_DLinkList_Init, arguments...);
    }
    WYX_EACH_LIST_CALL(WYX_OPERATION, XELP_DLinkList)
};

struct SLink {
    static constexpr QAL_UINT32 kMemory = XELP_ERR_SLL_MEMORY;
    static constexpr QAL_UINT32 kInvalid = XELP_ERR_SLL_INVALID_PARA;
    static constexpr bool kAllocatesNodes = false;
    static constexpr auto kYes = XELP_SLL_FreeUserNode_Yes;
    static constexpr auto Position = [](QAL_UINT32 ul) {
        return static_cast<XELP_E_SLL_Insert_Position>(ul);
    };
    template <typename... Arguments>
    static QAL_UINT32 Init(Trial &trial, Arguments... arguments)
    {
        return WYX_CALL(XELP_SLinkList_Init, 8, arguments...);
    }
    WYX_EACH_LIST_CALL(WYX_OPERATION, XELP_SLinkList)
};

/// A new list, or null if there was no memory; checks that this is reported as promised.
template <typename List>
void *NewList(Trial &trial)
{
    g_released.clear();
    void *pList = User('h');
    const QAL_UINT32 ulStatus = List::Init(trial, IsLetter, Release, &pList);
    EXPECT_EQ(ulStatus, trial.Struck() ? List::kMemory : 0U);
    if (trial.Struck()) {
        EXPECT_EQ(pList, User('h')) << "the handle is stored only on success";
        pList = nullptr;
    }
    return pList;
}

/// The list's letters and, after a bar, the one at the cursor.
template <typename List>
std::string TextOf(void *pList)
{
    void *pCursor = nullptr;
    std::string letters;
    List::Get_CurNode.pfun(pList, &pCursor);
    List::Process_List.pfun(pList, Append, &letters, nullptr);
    const char chCursor = Letter(pCursor);
    List::Query.pfun(pList, &chCursor, nullptr, &pCursor); // the walk has moved the cursor
    return letters + "|" + chCursor;
}

template <typename List>
void InsertAndTearDown(Trial &trial)
{
    for (int iRound = 0; iRound < 2; ++iRound) {
        void *const pList = NewList<List>(trial);
        if (pList != nullptr) {
            std::string expected = "|-";
            const struct {
                char ch;
                QAL_UINT32 ulPosition;
                const char *pszAfter;
            } kSteps[] = {{'a', 9, "a|a"},
                          {'b', 1, "ab|b"},
                          {'c', 0, "cab|c"},
                          {'d', 2, "dcab|d"},
                          {'e', 3, "decab|e"}};
            for (const auto &step : kSteps) {
                QAL_UINT32 ulStatus =
                    Do(trial, List::Insert, pList, User(step.ch), List::Position(step.ulPosition));
                EXPECT_EQ(ulStatus, trial.Struck() ? List::kMemory : 0U);
                EXPECT_EQ(trial.Calls(Service::kAllocate), List::kAllocatesNodes ? 1U : 0U);
                if (trial.Struck()) {
                    EXPECT_EQ(TextOf<List>(pList), expected) << "a failed call changed the list";
                    trial.Lift();
                    ulStatus = Do(trial, List::Insert, pList, User(step.ch),
                                  List::Position(step.ulPosition));
                    EXPECT_EQ(ulStatus, 0U);
                }
                expected = step.pszAfter;
                EXPECT_EQ(TextOf<List>(pList), expected);
            }
            // There is no position 4; a lack of memory is reported first.
            const QAL_UINT32 ulStatus =
                Do(trial, List::Insert, pList, User('f'), List::Position(4));
            EXPECT_EQ(ulStatus, trial.Struck() ? List::kMemory : List::kInvalid);
            EXPECT_EQ(TextOf<List>(pList), expected);
            EXPECT_EQ(DoPure(trial, List::Deinit, pList, List::kYes), 0U);
            EXPECT_EQ(g_released, "decab");
        }
        trial.Lift();
    }
}

template <typename List>
void LookMoveAndRemove(Trial &trial)
{
    void *pList = nullptr;
    {
        Trial undisturbed({});
        pList = NewList<List>(undisturbed);
    }
    for (const char ch : {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'}) {
        EXPECT_EQ(List::Insert.pfun(pList, User(ch), List::Position(1)), 0U);
    }
    void *pUser = nullptr;
    QAL_UINT32 ulCount = 0;
    const auto expect = [&](QAL_UINT32 ulStatus, char ch) {
        EXPECT_EQ(ulStatus, 0U);
        EXPECT_EQ(Letter(pUser), ch);
    };
    EXPECT_EQ(DoPure(trial, List::Get_NodeNumber, pList, &ulCount), 0U);
    EXPECT_EQ(ulCount, 8U);
    EXPECT_EQ(DoPure(trial, List::Set_CurPtr, pList), 0U);
    EXPECT_EQ(DoPure(trial, List::NextPtr, pList), 0U);
    EXPECT_EQ(DoPure(trial, List::NextPtr, pList), 0U);
    EXPECT_EQ(DoPure(trial, List::PriorPtr, pList), 0U);
    expect(DoPure(trial, List::Get_CurNode, pList, &pUser), 'b');
    expect(DoPure(trial, List::Get_NextNode, pList, &pUser), 'c');
    expect(DoPure(trial, List::Get_PriorNode, pList, &pUser), 'b');
    expect(DoPure(trial, List::Get_HeadNode, pList, &pUser), 'a');
    expect(DoPure(trial, List::Get_TailNode, pList, &pUser), 'h');
    const char *const pszLetters = "cde";
    expect(DoPure(trial, List::Query, pList, pszLetters, nullptr, &pUser), 'c');
    expect(DoPure(trial, List::Remove_CurNode, pList, &pUser), 'c');
    expect(DoPure(trial, List::Remove, pList, pszLetters + 1, IsLetter, &pUser), 'd');
    EXPECT_EQ(DoPure(trial, List::Delete, pList, pszLetters + 2, nullptr), 0U);
    expect(DoPure(trial, List::Remove_HeadNode, pList, &pUser), 'a');
    expect(DoPure(trial, List::Remove_TailNode, pList, &pUser), 'h');
    std::string letters;
    EXPECT_EQ(DoPure(trial, List::Process_List, pList, Append, &letters, nullptr), 0U);
    EXPECT_EQ(letters, "bfg");
    EXPECT_EQ(DoPure(trial, List::Delete_HeadNode, pList), 0U);
    EXPECT_EQ(DoPure(trial, List::Delete_TailNode, pList), 0U);
    EXPECT_EQ(DoPure(trial, List::Delete_CurNode, pList), 0U);
    EXPECT_EQ(g_released, "ebgf");
    EXPECT_EQ(DoPure(trial, List::Deinit, pList, List::kYes), 0U);
}

} // namespace

WYX_SCENARIO(DLinkInsert)
{
    InsertAndTearDown<DLink>(trial);
}

WYX_SCENARIO(DLinkRest)
{
    LookMoveAndRemove<DLink>(trial);
}

WYX_SCENARIO(SLinkInsert)
{
    InsertAndTearDown<SLink>(trial);
}

WYX_SCENARIO(SLinkRest)
{
    LookMoveAndRemove<SLink>(trial);
}

WYX_SCENARIO(SLinkSlots)
{
    void *pList = nullptr;
    ASSERT_EQ(XELP_SLinkList_Init(2, IsLetter, Release, &pList), 0U);
    QAL_UINT32 ulSize = 0;
    EXPECT_EQ(WYX_CALL(XELP_SLinkList_Get_ListSize, pList, &ulSize), 0U);
    EXPECT_EQ(ulSize, 2U);
    EXPECT_EQ(WYX_CALL(SLinkList_Remove_FreeNode, pList), 0U);
    EXPECT_EQ(WYX_CALL(SLinkList_Insert_FreeNode, pList, 0), 0U);
    EXPECT_EQ(trial.EverStruck(), false);
    EXPECT_EQ(XELP_SLinkList_Deinit(pList, XELP_SLL_FreeUserNode_Yes), 0U);
}

// ---- the hash table ----

namespace {

QAL_UINT32 HashLetter(void *pKey, QAL_UINT32 *pulHash)
{
    *pulHash = static_cast<QAL_UINT32>(Letter(pKey) - 'a');
    return 0;
}

QAL_UINT32 CompareLetters(void *pKey, void *pStored)
{
    return Letter(pKey) == Letter(pStored) ? 0 : 1;
}

/// The table's letters in the order of a walk.
std::string TextOfTable(void *pTable)
{
    std::string letters;
    XELP_Hash_Process_List(pTable, Append, &letters, nullptr);
    return letters;
}

} // namespace

WYX_SCENARIO(HashSave)
{
    for (int iRound = 0; iRound < 2; ++iRound) {
        g_released.clear();
        void *pTable = User('h');
        QAL_UINT32 ulStatus =
            WYX_CALL(XELP_Hash_Init, 2, HashLetter, CompareLetters, ReleaseKey, Release, &pTable);
        EXPECT_EQ(ulStatus, trial.Struck() ? XELP_ERR_HASH_MEMORY : 0U);
        if (trial.Struck()) {
            EXPECT_EQ(pTable, User('h')) << "the handle is stored only on success";
        } else {
            std::string expected;
            for (const char *const pszAfter : {"a", "ab", "cab", "cadb"}) {
                void *const pUser = User(static_cast<char>('a' + expected.size()));
                ulStatus = WYX_CALL(XELP_Hash_SaveNode, pTable, pUser, 1, pUser);
                EXPECT_EQ(ulStatus, trial.Struck() ? XELP_ERR_HASH_MEMORY : 0U);
                if (trial.Struck()) {
                    EXPECT_EQ(TextOfTable(pTable), expected) << "a failed call changed the table";
                    trial.Lift();
                    EXPECT_EQ(WYX_CALL(XELP_Hash_SaveNode, pTable, pUser, 1, pUser), 0U);
                }
                expected = pszAfter;
                EXPECT_EQ(TextOfTable(pTable), expected);
            }
            // An existing key is found before anything is allocated.
            EXPECT_EQ(WYX_CALL(XELP_Hash_SaveNode, pTable, User('a'), 1, User('a')),
                      XELP_ERR_HASH_RESAVE);
            EXPECT_EQ(trial.Calls(Service::kAllocate), 0U);
            EXPECT_EQ(WYX_CALL(XELP_Hash_DeInit, pTable, XELP_HASH_FreeUserNode_Yes), 0U);
            EXPECT_EQ(g_released, "cadb");
        }
        trial.Lift();
    }
}

WYX_SCENARIO(HashRest)
{
    g_released.clear();
    void *pTable = nullptr;
    ASSERT_EQ(XELP_Hash_Init(2, HashLetter, CompareLetters, ReleaseKey, Release, &pTable), 0U);
    for (const char ch : {'a', 'b', 'c', 'd'}) {
        ASSERT_EQ(XELP_Hash_SaveNode(pTable, User(ch), 1, User(ch)), 0U);
    }
    QAL_UINT32 ul = 0;
    void *pUser = nullptr;
    std::string letters;
    EXPECT_EQ(WYX_CALL(XELP_Hash_Get_ListSize, pTable, &ul), 0U);
    EXPECT_EQ(ul, 2U);
    EXPECT_EQ(WYX_CALL(XELP_Hash_Get_NodeNumber, pTable, &ul), 0U);
    EXPECT_EQ(ul, 4U);
    EXPECT_EQ(WYX_CALL(XELP_Hash_Process_List, pTable, Append, &letters, nullptr), 0U);
    EXPECT_EQ(letters, "cadb");
    EXPECT_EQ(WYX_CALL(XELP_Hash_QueryNode, pTable, User('c'), &pUser), 0U);
    EXPECT_EQ(WYX_CALL(XELP_Hash_RemoveCurNode, pTable, &pUser), 0U);
    EXPECT_EQ(Letter(pUser), 'c');
    EXPECT_EQ(WYX_CALL(XELP_Hash_DeleteCurNode, pTable), 0U);
    EXPECT_EQ(WYX_CALL(XELP_Hash_RemoveNode, pTable, User('d'), &pUser), 0U);
    EXPECT_EQ(Letter(pUser), 'd');
    EXPECT_EQ(WYX_CALL(XELP_Hash_DeleteNode, pTable, User('b')), 0U);
    EXPECT_EQ(g_released, "ab");
    EXPECT_EQ(WYX_CALL(XELP_Hash_DeInit, pTable, XELP_HASH_FreeUserNode_Yes), 0U);
    EXPECT_FALSE(trial.EverStruck()) << "none of these asks the platform for anything";
}
