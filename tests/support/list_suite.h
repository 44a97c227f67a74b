// Tests of what both linked lists have in common: a typed test suite, whose type describes a list.
//
// User nodes are letters. A list is written as its letters, with the letter at the cursor in
// brackets: "a[b]c". A description (see DLink and SLink) names the calls and statuses of a list,
// and can read the list of a handle. Each list's own test file tests what only that list does.
#ifndef WYX_TESTS_SUPPORT_LIST_SUITE_H
#define WYX_TESTS_SUPPORT_LIST_SUITE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "letters.h"
#include "list_calls.h"
#include "platform_double.h"
#include "random.h"
#include "walker.h"

/// In a description, declares the member for a list call: the call's name without its prefix.
#define WYX_LIST_CALL(prefix, name) static constexpr auto name = prefix##_##name;

namespace wyx::test {

// ---- user nodes and callbacks ----

inline std::string g_released; ///< the letters passed to the release callback
inline std::string g_compared; ///< the letters compared: "a" by IsLetter(), "a!" by IsNextLetter()
inline std::function<void(char)> g_onRelease; ///< what the release callback does in addition

inline void Release(void *pUserNode)
{
    g_released += Letter(pUserNode);
    if (g_onRelease) {
        g_onRelease(Letter(pUserNode));
    }
}

inline QAL_UINT32 IsLetter(const void *pCondition, void *pUserNode)
{
    g_compared += Letter(pUserNode);
    return *static_cast<const char *>(pCondition) == Letter(pUserNode) ? 0U : 0x80000000U;
}

/// Another comparator: the letter that follows the condition's letter is a match.
inline QAL_UINT32 IsNextLetter(const void *pCondition, void *pUserNode)
{
    g_compared += std::string{Letter(pUserNode), '!'};
    return *static_cast<const char *>(pCondition) + 1 == Letter(pUserNode) ? 0U : 1U;
}

// ---- what a caller can see of a list ----

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

/// The content of a handle's list, from first to last.
struct Observed {
    std::vector<void *> users;
    std::vector<std::uint64_t> places; ///< where each element is: an address or an index
    std::size_t cursor = kNowhere;     ///< an index into users and places, or kNowhere
    std::vector<std::uint64_t> unused; ///< free places, in the order in which they will be taken
    bool operator==(const Observed &) const = default;

    std::string Text() const
    {
        std::string text;
        for (std::size_t i = 0; i < users.size(); ++i) {
            text += i == cursor ? std::string{'[', Letter(users[i]), ']'}
                                : std::string{Letter(users[i])};
        }
        return text;
    }
};

/// The recorded memory calls as text, such as "S 24, freeD, setNull"; the last two are the two
/// kinds of release. The test fails if a call does not name @p file.
inline std::string MemoryCalls(const PlatformDouble &platform, const std::string &file)
{
    std::string text;
    for (const Event &event : platform.Events()) {
        EXPECT_EQ(event.file, file);
        EXPECT_GT(event.line, 0U);
        text += text.empty() ? "" : ", ";
        text += event.what == "free" ? (event.setsNull ? "setNull" : "freeD")
                                     : event.what + " " + std::to_string(event.size);
    }
    return text;
}

// ---- the fixture ----

template <typename List>
class ListTest : public PlatformTest {
  protected:
    using Position = typename List::Position;
    using Flag = typename List::Flag;

    /// A call. If it has no result, it ignores the second argument.
    struct Call {
        const char *pszName;
        QAL_UINT32 (*pfun)(void *, void **);
    };

    struct Case {
        const char *pszBefore;
        Call call;
        QAL_UINT32 ulStatus;
        char chResult;
        const char *pszAfter;
        const char *pszReleased = "";
    };

    void SetUp() override
    {
        PlatformTest::SetUp();
        g_released.clear();
        g_compared.clear();
        g_onRelease = nullptr;
    }

    void TearDown() override
    {
        Drop();
        PlatformTest::TearDown();
    }

    void Drop()
    {
        if (list != nullptr) {
            EXPECT_EQ(List::Deinit(list, List::kNo), 0U);
            list = nullptr;
        }
    }

    /// Creates a new list from its text.
    void Build(std::string_view text)
    {
        Drop();
        ASSERT_EQ(List::Init(IsLetter, Release, &list), 0U);
        std::size_t cursor = 0;
        std::size_t count = 0;
        for (const char ch : text) {
            if (ch == '[') {
                cursor = count;
            } else if (ch != ']') {
                ASSERT_EQ(List::Insert(list, User(ch), List::kAfterLast), 0U);
                ++count;
            }
        }
        ASSERT_EQ(List::Set_CurPtr(list), 0U);
        for (std::size_t i = 0; i < cursor; ++i) {
            ASSERT_EQ(List::NextPtr(list), 0U);
        }
        ASSERT_EQ(Text(), text);
    }

    std::string Text() const { return List::Observe(list).Text(); }

    /// Runs one case: builds the list, makes the call and checks everything that a caller can see.
    void Run(const Case &c)
    {
        SCOPED_TRACE(std::string(c.call.pszName) + " on \"" + c.pszBefore + "\"");
        Build(c.pszBefore);
        const Observed before = List::Observe(list);
        g_released.clear();
        void *pResult = User(kUntouched);
        EXPECT_EQ(c.call.pfun(list, &pResult), c.ulStatus);
        EXPECT_EQ(Letter(pResult), c.chResult);
        EXPECT_EQ(Text(), c.pszAfter);
        EXPECT_EQ(g_released, c.pszReleased);
        if (c.ulStatus != 0) {
            EXPECT_EQ(List::Observe(list), before);
        }
    }

    /// Makes the call with a null handle and checks the status and the result. If
    /// @p mustRefuseNullResult, also makes the call with a null result pointer on "[a]".
    void RunWithNulls(const Call &call, bool mustRefuseNullResult, char chResult)
    {
        SCOPED_TRACE(call.pszName);
        void *pResult = User(kUntouched);
        EXPECT_EQ(call.pfun(nullptr, &pResult), List::kErrInvalid);
        EXPECT_EQ(Letter(pResult), chResult);
        if (mustRefuseNullResult) {
            Build("[a]");
            EXPECT_EQ(call.pfun(list, nullptr), List::kErrInvalid);
            EXPECT_EQ(Text(), "[a]");
        }
    }

    template <QAL_UINT32 (*pfun)(void *)>
    static QAL_UINT32 WithoutResult(void *pList, void **)
    {
        return pfun(pList);
    }

    static constexpr Call kSetCurPtr = {"Set_CurPtr", WithoutResult<List::Set_CurPtr>};
    static constexpr Call kGetCurNode = {"Get_CurNode", List::Get_CurNode};
    static constexpr Call kPriorPtr = {"PriorPtr", WithoutResult<List::PriorPtr>};
    static constexpr Call kNextPtr = {"NextPtr", WithoutResult<List::NextPtr>};
    static constexpr Call kGetPriorNode = {"Get_PriorNode", List::Get_PriorNode};
    static constexpr Call kGetNextNode = {"Get_NextNode", List::Get_NextNode};
    static constexpr Call kGetHeadNode = {"Get_HeadNode", List::Get_HeadNode};
    static constexpr Call kGetTailNode = {"Get_TailNode", List::Get_TailNode};
    static constexpr Call kRemoveCurNode = {"Remove_CurNode", List::Remove_CurNode};
    static constexpr Call kRemoveHeadNode = {"Remove_HeadNode", List::Remove_HeadNode};
    static constexpr Call kRemoveTailNode = {"Remove_TailNode", List::Remove_TailNode};
    static constexpr Call kDeleteCurNode = {"Delete_CurNode", WithoutResult<List::Delete_CurNode>};
    static constexpr Call kDeleteHeadNode = {"Delete_HeadNode",
                                             WithoutResult<List::Delete_HeadNode>};
    static constexpr Call kDeleteTailNode = {"Delete_TailNode",
                                             WithoutResult<List::Delete_TailNode>};

    void *list = nullptr;
};

// ---- a plain model, and random calls compared with it ----

template <typename List>
class ListModel {
  public:
    struct Element {
        void *pUserNode;
        std::uint64_t place;
    };
    using Elements = std::list<Element>;
    using Iterator = typename Elements::iterator;

    ListModel() : cursor(elements.end()) { unused = List::UnusedAtFirst(); }

    std::size_t Size() const { return elements.size(); }
    bool IsFull() const { return List::kCapacity != 0 && Size() == List::kCapacity; }

    Observed AsObserved()
    {
        Observed observed;
        for (Iterator it = elements.begin(); it != elements.end(); ++it) {
            if (it == cursor) {
                observed.cursor = observed.users.size();
            }
            observed.users.push_back(it->pUserNode);
            observed.places.push_back(it->place);
        }
        observed.unused = unused;
        return observed;
    }

    void Insert(Iterator before, void *pUserNode)
    {
        cursor = elements.insert(before, {pUserNode, 0});
        if (!unused.empty()) {
            cursor->place = unused.front();
            unused.erase(unused.begin());
        }
    }

    void *Remove(Iterator it)
    {
        if (List::kCapacity != 0) {
            unused.insert(unused.begin(), it->place);
        }
        void *const pUserNode = it->pUserNode;
        cursor = elements.erase(it);
        if (cursor == elements.end() && !elements.empty()) {
            --cursor;
        }
        return pUserNode;
    }

    Elements elements;
    Iterator cursor; ///< elements.end() only if there are no elements
    std::vector<std::uint64_t> unused;
};

/// Makes random calls on a list and on the model, and compares the two after each call.
template <typename List>
class RandomCalls {
  public:
    RandomCalls(void *pList, Random &random) : list_(pList), random_(random) {}

    /// Makes a call. The list grows and shrinks in turn, so that it is often empty or full, and
    /// many calls are at its ends.
    void Step()
    {
        if (model_.Size() == 0 || model_.IsFull() || model_.Size() > 20) {
            isGrowing_ = random_.UpTo(3) == 0 ? model_.Size() == 0 : isGrowing_;
        }
        // Of the numbers 0 to 8, those below ullInsert insert and the others remove.
        const std::uint64_t ullInsert = isGrowing_ ? 7 : 2;
        const std::uint64_t ull = random_.UpTo(17);
        if (ull < ullInsert) {
            Insert();
        } else if (ull < 9) {
            const std::uint64_t ullWhich = random_.UpTo(2);
            ullWhich == 0 ? RemoveEnd() : ullWhich == 1 ? RemoveCurrent() : RemoveMatch();
        } else if (ull < 11) {
            Query();
        } else if (ull < 12) {
            Look();
        } else if (ull < 15) {
            Move();
        } else if (ull < 16) {
            SetCursor();
        } else {
            depth_ == 0 ? Walk() : Look();
        }
    }

    void Compare() { ASSERT_EQ(List::Observe(list_), model_.AsObserved()); }

  private:
    using Model = ListModel<List>;
    using Iterator = typename Model::Iterator;

    char AnyLetter() { return static_cast<char>('a' + random_.UpTo(7)); }

    Iterator Find(char ch)
    {
        return std::find_if(model_.elements.begin(), model_.elements.end(),
                            [&](const typename Model::Element &element) {
                                return Letter(element.pUserNode) == ch;
                            });
    }

    void Insert()
    {
        const auto ulPosition = static_cast<QAL_UINT32>(random_.UpTo(4));
        void *const pUserNode = User(AnyLetter());
        const QAL_UINT32 ulStatus =
            List::Insert(list_, pUserNode, static_cast<typename List::Position>(ulPosition));
        if (model_.IsFull()) {
            EXPECT_EQ(ulStatus, List::kErrFull);
        } else if (ulPosition > 3 && model_.Size() != 0) {
            EXPECT_EQ(ulStatus, List::kErrInvalid);
        } else {
            EXPECT_EQ(ulStatus, 0U);
            const Iterator cursor = model_.cursor;
            const Iterator gaps[] = {model_.elements.begin(), model_.elements.end(), cursor,
                                     cursor == model_.elements.end() ? cursor : std::next(cursor),
                                     model_.elements.end()};
            model_.Insert(gaps[ulPosition], pUserNode);
            if constexpr (List::kCapacity == 0) {
                // A new element may have any address, but must keep it.
                const Observed observed = List::Observe(list_);
                ASSERT_LT(observed.cursor, observed.places.size());
                model_.cursor->place = observed.places[observed.cursor];
            }
        }
        Compare();
    }

    /// Makes either the Remove or the Delete call, and checks that it takes out the element at
    /// @p it. If @p it is elements.end(), there is no such element, and the call must return
    /// @p ulIfNone.
    template <typename Remove, typename Delete>
    void RemoveOrDelete(Iterator it, QAL_UINT32 ulIfNone, const Remove &remove,
                        const Delete &destroy)
    {
        const bool isFound = it != model_.elements.end();
        const char ch = isFound ? Letter(model_.Remove(it)) : kNull;
        g_released.clear();
        if (random_.UpTo(1) == 0) {
            void *pResult = nullptr;
            EXPECT_EQ(remove(&pResult), isFound ? 0U : ulIfNone);
            EXPECT_EQ(Letter(pResult), ch);
            EXPECT_EQ(g_released, "");
        } else {
            EXPECT_EQ(destroy(), isFound ? 0U : ulIfNone);
            EXPECT_EQ(g_released, isFound ? std::string{ch} : "");
        }
        Compare();
    }

    void RemoveEnd()
    {
        if (random_.UpTo(1) == 0) {
            RemoveOrDelete(
                model_.elements.begin(), List::kErrNull,
                [&](void **pp) { return List::Remove_HeadNode(list_, pp); },
                [&] { return List::Delete_HeadNode(list_); });
        } else {
            RemoveOrDelete(
                model_.Size() == 0 ? model_.elements.end() : std::prev(model_.elements.end()),
                List::kErrNull, [&](void **pp) { return List::Remove_TailNode(list_, pp); },
                [&] { return List::Delete_TailNode(list_); });
        }
    }

    void RemoveCurrent()
    {
        RemoveOrDelete(
            model_.cursor, List::kErrNull,
            [&](void **pp) { return List::Remove_CurNode(list_, pp); },
            [&] { return List::Delete_CurNode(list_); });
    }

    void RemoveMatch()
    {
        const char ch = AnyLetter();
        RemoveOrDelete(
            Find(ch), model_.Size() == 0 ? List::kErrNull : List::kErrFind,
            [&](void **pp) { return List::Remove(list_, &ch, nullptr, pp); },
            [&] { return List::Delete(list_, &ch, IsLetter); });
    }

    void Query()
    {
        const char ch = AnyLetter();
        const Iterator it = Find(ch);
        const bool isFound = it != model_.elements.end();
        void *pResult = User(kUntouched);
        EXPECT_EQ(List::Query(list_, &ch, nullptr, &pResult), isFound ? 0U
                                                              : model_.Size() == 0
                                                                  ? List::kErrNull
                                                                  : List::kErrFind);
        EXPECT_EQ(Letter(pResult), isFound ? ch : kNull);
        if (isFound) {
            model_.cursor = it;
        }
        Compare();
    }

    void Look()
    {
        const bool isEmpty = model_.Size() == 0;
        QAL_UINT32 ulCount = 0xFFFFFFFF;
        EXPECT_EQ(List::Get_NodeNumber(list_, &ulCount), 0U);
        EXPECT_EQ(ulCount, model_.Size());
        void *apResult[3] = {};
        const QAL_UINT32 ulStatus = isEmpty ? List::kErrNull : 0U;
        EXPECT_EQ(List::Get_HeadNode(list_, &apResult[0]), ulStatus);
        EXPECT_EQ(List::Get_CurNode(list_, &apResult[1]), ulStatus);
        EXPECT_EQ(List::Get_TailNode(list_, &apResult[2]), ulStatus);
        if (!isEmpty) {
            EXPECT_EQ(apResult[0], model_.elements.front().pUserNode);
            EXPECT_EQ(apResult[1], model_.cursor->pUserNode);
            EXPECT_EQ(apResult[2], model_.elements.back().pUserNode);
        }
        Compare();
    }

    void Move()
    {
        const bool isForward = random_.UpTo(1) == 0;
        const bool isEmpty = model_.Size() == 0;
        const bool isAtEnd =
            !isEmpty && model_.cursor == (isForward ? std::prev(model_.elements.end())
                                                    : model_.elements.begin());
        const QAL_UINT32 ulStatus = isEmpty     ? List::kErrNull
                                    : !isAtEnd  ? 0U
                                    : isForward ? List::kErrTail
                                                : List::kErrHead;
        if (ulStatus == 0) {
            std::advance(model_.cursor, isForward ? 1 : -1);
        }
        if (random_.UpTo(1) == 0) {
            EXPECT_EQ(isForward ? List::NextPtr(list_) : List::PriorPtr(list_), ulStatus);
        } else {
            void *pResult = nullptr;
            EXPECT_EQ(isForward ? List::Get_NextNode(list_, &pResult)
                                : List::Get_PriorNode(list_, &pResult),
                      ulStatus);
            EXPECT_EQ(pResult, ulStatus == 0 ? model_.cursor->pUserNode : nullptr);
        }
        Compare();
    }

    void SetCursor()
    {
        EXPECT_EQ(List::Set_CurPtr(list_), 0U);
        model_.cursor = model_.elements.begin();
        Compare();
    }

    /// Walks the list with a callback that makes random calls, and that stops the walk at random,
    /// or if it gets too long.
    void Walk()
    {
        ++depth_;
        expected_ = model_.elements.begin();
        visits_ = 0;
        const bool isEmpty = model_.Size() == 0;
        const QAL_UINT32 ulStatus = List::Process_List(list_, Visit, this, nullptr);
        EXPECT_EQ(ulStatus, isEmpty ? List::kErrNull : hasStopped_ ? List::kErrBreak : 0U);
        if (ulStatus == 0) {
            EXPECT_EQ(expected_, model_.elements.end());
        }
        hasStopped_ = false;
        --depth_;
        Compare();
    }

    static QAL_UINT32 Visit(void *pSelf, void *pUserNode, void **pOther)
    {
        EXPECT_EQ(pOther, nullptr);
        return static_cast<RandomCalls *>(pSelf)->Visited(pUserNode);
    }

    QAL_UINT32 Visited(void *pUserNode)
    {
        if (::testing::Test::HasFailure() || expected_ == model_.elements.end()) {
            ADD_FAILURE() << "visited after the end, or after an earlier failure";
            hasStopped_ = true;
            return 1;
        }
        EXPECT_EQ(pUserNode, expected_->pUserNode);
        model_.cursor = expected_;
        Compare();
        const std::uint64_t visited = expected_->place;
        for (std::uint64_t i = random_.UpTo(2); i != 0; --i) {
            Step();
        }
        // To a walk, the element in the same place is the same element, even if it is a new one.
        expected_ = model_.cursor;
        if (expected_ != model_.elements.end() && expected_->place == visited) {
            ++expected_;
        }
        hasStopped_ = ++visits_ == 30 || random_.UpTo(30) == 0;
        return hasStopped_ ? 0xFFFFFFFF : 0;
    }

    void *list_;
    Random &random_;
    Model model_;
    Iterator expected_;
    bool isGrowing_ = true;
    int depth_ = 0;
    int visits_ = 0;
    bool hasStopped_ = false;
};

// ---- the suite ----

TYPED_TEST_SUITE_P(ListTest);

TYPED_TEST_P(ListTest, InitRefusesNullArguments)
{
    using List = TypeParam;
    void *pList = User(kUntouched);
    this->platform.RecordEvents(true);
    EXPECT_EQ(List::Init(IsLetter, nullptr, &pList), List::kErrInvalid);
    EXPECT_EQ(Letter(pList), kUntouched);
    EXPECT_EQ(List::Init(IsLetter, Release, nullptr), List::kErrInvalid);
    EXPECT_TRUE(this->platform.Events().empty());
}

TYPED_TEST_P(ListTest, InitWithoutMemoryLeavesTheHandle)
{
    using List = TypeParam;
    void *pList = User(kUntouched);
    this->platform.Fail(Service::kAllocate, 1);
    EXPECT_EQ(List::Init(IsLetter, Release, &pList), List::kErrMemory);
    EXPECT_EQ(Letter(pList), kUntouched);
}

TYPED_TEST_P(ListTest, InitMakesAnEmptyList)
{
    using List = TypeParam;
    ASSERT_EQ(List::Init(nullptr, Release, &this->list), 0U);
    const auto &head = *static_cast<const typename List::Head *>(this->list);
    EXPECT_EQ(head.pfunCmpNode, nullptr);
    EXPECT_EQ(head.pfunFreeNode, Release);
    EXPECT_EQ(List::Observe(this->list), ListModel<List>().AsObserved());
    QAL_UINT32 ulCount = 9;
    EXPECT_EQ(List::Get_NodeNumber(this->list, &ulCount), 0U);
    EXPECT_EQ(ulCount, 0U);

    this->Build("");
    EXPECT_EQ(static_cast<const typename List::Head *>(this->list)->pfunCmpNode, IsLetter);
}

TYPED_TEST_P(ListTest, DeinitReleasesUserNodesForFlag0Only)
{
    using List = TypeParam;
    EXPECT_EQ(List::Deinit(nullptr, List::kYes), List::kErrInvalid);
    for (const QAL_UINT32 ulFlag : {0U, 1U, 2U, 3U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(ulFlag);
        for (const std::string text : {"", "[a]", "a[b]ca"}) {
            SCOPED_TRACE(text);
            this->Build(text);
            void *const pHandle = this->list;
            EXPECT_EQ(List::Deinit(this->list, static_cast<typename List::Flag>(ulFlag)), 0U);
            EXPECT_EQ(this->list, pHandle);
            this->list = nullptr;
            std::string letters = text;
            std::erase_if(letters, [](char ch) { return ch == '[' || ch == ']'; });
            EXPECT_EQ(g_released, ulFlag == 0 ? letters : "");
            EXPECT_EQ(this->platform.LiveBlocks(), 0U);
            g_released.clear();
        }
    }
}

TYPED_TEST_P(ListTest, InsertPutsTheElementAtItsPosition)
{
    using List = TypeParam;
    const struct {
        const char *pszBefore;
        QAL_UINT32 ulPosition;
        QAL_UINT32 ulStatus;
        const char *pszAfter;
    } aCase[] = {
        // an empty list accepts any position
        {"", 0, 0, "[x]"},
        {"", 1, 0, "[x]"},
        {"", 2, 0, "[x]"},
        {"", 3, 0, "[x]"},
        {"", 4, 0, "[x]"},
        {"", 99, 0, "[x]"},
        {"", 0xFFFFFFFF, 0, "[x]"},
        {"a[b]c", 0, 0, "[x]abc"},
        {"[a]bc", 0, 0, "[x]abc"},
        {"a[b]c", 1, 0, "abc[x]"},
        {"ab[c]", 1, 0, "abc[x]"},
        {"a[b]c", 2, 0, "a[x]bc"},
        {"[a]bc", 2, 0, "[x]abc"},
        {"[a]", 2, 0, "[x]a"},
        {"a[b]c", 3, 0, "ab[x]c"},
        {"ab[c]", 3, 0, "abc[x]"},
        {"[a]", 3, 0, "a[x]"},
        {"a[b]c", 4, List::kErrInvalid, "a[b]c"},
        {"[a]", 5, List::kErrInvalid, "[a]"},
        {"a[b]c", 99, List::kErrInvalid, "a[b]c"},
        {"a[b]c", 0xFFFFFFFF, List::kErrInvalid, "a[b]c"},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(std::string(c.pszBefore) + " at " + std::to_string(c.ulPosition));
        this->Build(c.pszBefore);
        const Observed before = List::Observe(this->list);
        EXPECT_EQ(
            List::Insert(this->list, User('x'), static_cast<typename List::Position>(c.ulPosition)),
            c.ulStatus);
        EXPECT_EQ(this->Text(), c.pszAfter);
        if (c.ulStatus != 0) {
            EXPECT_EQ(List::Observe(this->list), before);
        }
    }
    EXPECT_EQ(g_released, "");
}

TYPED_TEST_P(ListTest, InsertRefusesNullsBeforeItAllocates)
{
    using List = TypeParam;
    this->Build("[a]b");
    this->platform.StartRecording();
    EXPECT_EQ(List::Insert(nullptr, User('x'), List::kAfterLast), List::kErrInvalid);
    EXPECT_EQ(List::Insert(this->list, nullptr, List::kAfterLast), List::kErrInvalid);
    EXPECT_TRUE(this->platform.Events().empty());
    EXPECT_EQ(this->Text(), "[a]b");
}

TYPED_TEST_P(ListTest, CursorCallsMoveTheCursorAndReturnElements)
{
    using List = TypeParam;
    const typename TestFixture::Case aCase[] = {
        {"", TestFixture::kSetCurPtr, 0, kUntouched, ""},
        {"ab[c]", TestFixture::kSetCurPtr, 0, kUntouched, "[a]bc"},
        {"[a]bc", TestFixture::kSetCurPtr, 0, kUntouched, "[a]bc"},
        {"", TestFixture::kGetCurNode, List::kErrNull, List::kResultWithoutCursor, ""},
        {"[a]", TestFixture::kGetCurNode, 0, 'a', "[a]"},
        {"a[b]c", TestFixture::kGetCurNode, 0, 'b', "a[b]c"},
        {"", TestFixture::kPriorPtr, List::kErrNull, kUntouched, ""},
        {"[a]b", TestFixture::kPriorPtr, List::kErrHead, kUntouched, "[a]b"},
        {"a[b]c", TestFixture::kPriorPtr, 0, kUntouched, "[a]bc"},
        {"", TestFixture::kNextPtr, List::kErrNull, kUntouched, ""},
        {"a[b]", TestFixture::kNextPtr, List::kErrTail, kUntouched, "a[b]"},
        {"a[b]c", TestFixture::kNextPtr, 0, kUntouched, "ab[c]"},
        {"", TestFixture::kGetPriorNode, List::kErrNull, List::kResultWithoutCursor, ""},
        {"[a]b", TestFixture::kGetPriorNode, List::kErrHead, kNull, "[a]b"},
        {"a[b]c", TestFixture::kGetPriorNode, 0, 'a', "[a]bc"},
        {"", TestFixture::kGetNextNode, List::kErrNull, List::kResultWithoutCursor, ""},
        {"a[b]", TestFixture::kGetNextNode, List::kErrTail, kNull, "a[b]"},
        {"a[b]c", TestFixture::kGetNextNode, 0, 'c', "ab[c]"},
        {"", TestFixture::kGetHeadNode, List::kErrNull, kNull, ""},
        {"[a]", TestFixture::kGetHeadNode, 0, 'a', "[a]"},
        {"ab[c]", TestFixture::kGetHeadNode, 0, 'a', "ab[c]"},
        {"", TestFixture::kGetTailNode, List::kErrNull, kNull, ""},
        {"[a]", TestFixture::kGetTailNode, 0, 'a', "[a]"},
        {"[a]bc", TestFixture::kGetTailNode, 0, 'c', "[a]bc"},
    };
    for (const auto &c : aCase) {
        this->Run(c);
    }
}

TYPED_TEST_P(ListTest, RemovalMovesTheCursorBesideTheGap)
{
    using List = TypeParam;
    const typename TestFixture::Case aCase[] = {
        {"", TestFixture::kRemoveCurNode, List::kErrNull, List::kResultWithoutCursor, ""},
        {"[a]", TestFixture::kRemoveCurNode, 0, 'a', ""},
        {"[a]bc", TestFixture::kRemoveCurNode, 0, 'a', "[b]c"},
        {"a[b]c", TestFixture::kRemoveCurNode, 0, 'b', "a[c]"},
        {"ab[c]", TestFixture::kRemoveCurNode, 0, 'c', "a[b]"},
        {"", TestFixture::kRemoveHeadNode, List::kErrNull, kNull, ""},
        {"[a]", TestFixture::kRemoveHeadNode, 0, 'a', ""},
        {"[a]bc", TestFixture::kRemoveHeadNode, 0, 'a', "[b]c"},
        {"ab[c]", TestFixture::kRemoveHeadNode, 0, 'a', "[b]c"},
        {"", TestFixture::kRemoveTailNode, List::kErrNull, kNull, ""},
        {"[a]", TestFixture::kRemoveTailNode, 0, 'a', ""},
        {"[a]bc", TestFixture::kRemoveTailNode, 0, 'c', "a[b]"},
        {"ab[c]", TestFixture::kRemoveTailNode, 0, 'c', "a[b]"},
        {"", TestFixture::kDeleteCurNode, List::kErrNull, kUntouched, ""},
        {"[a]", TestFixture::kDeleteCurNode, 0, kUntouched, "", "a"},
        {"a[b]c", TestFixture::kDeleteCurNode, 0, kUntouched, "a[c]", "b"},
        {"ab[c]", TestFixture::kDeleteCurNode, 0, kUntouched, "a[b]", "c"},
        {"", TestFixture::kDeleteHeadNode, List::kErrNull, kUntouched, ""},
        {"[a]", TestFixture::kDeleteHeadNode, 0, kUntouched, "", "a"},
        {"ab[c]", TestFixture::kDeleteHeadNode, 0, kUntouched, "[b]c", "a"},
        {"", TestFixture::kDeleteTailNode, List::kErrNull, kUntouched, ""},
        {"[a]", TestFixture::kDeleteTailNode, 0, kUntouched, "", "a"},
        {"[a]bc", TestFixture::kDeleteTailNode, 0, kUntouched, "a[b]", "c"},
    };
    for (const auto &c : aCase) {
        this->Run(c);
    }
}

TYPED_TEST_P(ListTest, NullArgumentsAreRefused)
{
    using List = TypeParam;
    for (const auto &call : {TestFixture::kSetCurPtr, TestFixture::kPriorPtr, TestFixture::kNextPtr,
                             TestFixture::kDeleteCurNode, TestFixture::kDeleteHeadNode,
                             TestFixture::kDeleteTailNode}) {
        this->RunWithNulls(call, false, kUntouched);
    }
    for (const auto &call : {TestFixture::kGetHeadNode, TestFixture::kGetTailNode,
                             TestFixture::kRemoveHeadNode, TestFixture::kRemoveTailNode}) {
        this->RunWithNulls(call, true, kNull);
    }
    for (const auto &call : {TestFixture::kGetCurNode, TestFixture::kGetPriorNode}) {
        this->RunWithNulls(call, true, List::kResultWithoutCursor);
    }
    for (const auto &call : {TestFixture::kGetNextNode, TestFixture::kRemoveCurNode}) {
        this->RunWithNulls(call, List::kRefusesEveryNullResult, List::kResultWithoutCursor);
    }

    this->Build("[a]");
    QAL_UINT32 ulCount = 9;
    EXPECT_EQ(List::Get_NodeNumber(nullptr, &ulCount), List::kErrInvalid);
    EXPECT_EQ(ulCount, 9U);
    EXPECT_EQ(List::Get_NodeNumber(this->list, nullptr), List::kErrInvalid);
}

TYPED_TEST_P(ListTest, SearchesTakeTheFirstMatch)
{
    using List = TypeParam;
    using Cmp = typename List::NodeCmp;
    const struct {
        const char *pszBefore;
        char ch;
        Cmp pfunCmp;
        QAL_UINT32 ulStatus;
        char chResult;
        const char *pszQueried;
        const char *pszRemoved;
        const char *pszCompared;
    } aCase[] = {
        {"", 'a', nullptr, List::kErrNull, kNull, "", "", ""},
        {"[a]", 'a', nullptr, 0, 'a', "[a]", "", "a"},
        {"[a]bcb", 'b', nullptr, 0, 'b', "a[b]cb", "a[c]b", "ab"},
        {"a[b]c", 'a', nullptr, 0, 'a', "[a]bc", "[b]c", "a"},
        {"[a]bc", 'c', nullptr, 0, 'c', "ab[c]", "a[b]", "abc"},
        {"a[b]c", 'x', nullptr, List::kErrFind, kNull, "a[b]c", "a[b]c", "abc"},
        // the comparator passed to the call is used instead of the list's own
        {"[a]bc", 'a', IsNextLetter, 0, 'b', "a[b]c", "a[c]", "a!b!"},
        {"a[b]c", 'c', IsNextLetter, List::kErrFind, kNull, "a[b]c", "a[b]c", "a!b!c!"},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(std::string(c.pszBefore) + " for " + c.ch);
        this->Build(c.pszBefore);
        g_compared.clear();
        void *pResult = User(kUntouched);
        EXPECT_EQ(List::Query(this->list, &c.ch, c.pfunCmp, &pResult), c.ulStatus);
        EXPECT_EQ(Letter(pResult), c.chResult);
        EXPECT_EQ(this->Text(), c.pszQueried);
        EXPECT_EQ(g_compared, c.pszCompared);

        this->Build(c.pszBefore);
        g_compared.clear();
        pResult = User(kUntouched);
        EXPECT_EQ(List::Remove(this->list, &c.ch, c.pfunCmp, &pResult), c.ulStatus);
        EXPECT_EQ(Letter(pResult), c.chResult);
        EXPECT_EQ(this->Text(), c.pszRemoved);
        EXPECT_EQ(g_compared, c.pszCompared);
        EXPECT_EQ(g_released, "");

        this->Build(c.pszBefore);
        g_compared.clear();
        EXPECT_EQ(List::Delete(this->list, &c.ch, c.pfunCmp), c.ulStatus);
        EXPECT_EQ(this->Text(), c.pszRemoved);
        EXPECT_EQ(g_compared, c.pszCompared);
        EXPECT_EQ(g_released, c.ulStatus == 0 ? std::string{c.chResult} : "");
        g_released.clear();
    }
}

TYPED_TEST_P(ListTest, SearchesCheckTheirArgumentsFirst)
{
    using List = TypeParam;
    const char ch = 'a';
    for (const std::string text : {"", "[a]"}) { // refused before the call looks at the list
        SCOPED_TRACE(text);
        this->Build(text);
        void *pResult = User(kUntouched);
        EXPECT_EQ(List::Query(nullptr, &ch, IsLetter, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Remove(nullptr, &ch, IsLetter, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Delete(nullptr, &ch, IsLetter), List::kErrInvalid);
        EXPECT_EQ(List::Query(this->list, nullptr, IsLetter, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Remove(this->list, nullptr, nullptr, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Delete(this->list, nullptr, nullptr), List::kErrInvalid);
        EXPECT_EQ(List::Query(this->list, &ch, nullptr, nullptr), List::kErrInvalid);
        EXPECT_EQ(List::Remove(this->list, &ch, IsLetter, nullptr), List::kErrInvalid);
        EXPECT_EQ(Letter(pResult), kUntouched);
        EXPECT_EQ(this->Text(), text);
    }
}

TYPED_TEST_P(ListTest, SearchesNeedAComparator)
{
    using List = TypeParam;
    const char ch = 'a';
    ASSERT_EQ(List::Init(nullptr, Release, &this->list), 0U);
    for (const std::string text : {"", "[a]"}) {
        SCOPED_TRACE(text);
        void *pResult = User(kUntouched);
        EXPECT_EQ(List::Query(this->list, &ch, nullptr, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Remove(this->list, &ch, nullptr, &pResult), List::kErrInvalid);
        EXPECT_EQ(List::Delete(this->list, &ch, nullptr), List::kErrInvalid);
        EXPECT_EQ(Letter(pResult), kUntouched);
        EXPECT_EQ(this->Text(), text);
        if (text.empty()) {
            ASSERT_EQ(List::Insert(this->list, User('a'), List::kAfterLast), 0U);
        }
    }
    void *pResult = nullptr;
    EXPECT_EQ(List::Query(this->list, &ch, IsLetter, &pResult), 0U);
    EXPECT_EQ(Letter(pResult), 'a');
    EXPECT_EQ(List::Delete(this->list, &ch, IsLetter), 0U);
    EXPECT_EQ(g_released, "a");
}

TYPED_TEST_P(ListTest, ReleaseRunsAfterTheElementIsUnlinked)
{
    using List = TypeParam;
    for (const auto &call : {TestFixture::kDeleteCurNode, TestFixture::kDeleteHeadNode,
                             TestFixture::kDeleteTailNode}) {
        SCOPED_TRACE(call.pszName);
        this->Build("[a]");
        g_onRelease = [&](char ch) {
            EXPECT_EQ(ch, 'a');
            EXPECT_EQ(this->Text(), "");
            EXPECT_EQ(List::Insert(this->list, User('x'), List::kAfterLast), 0U);
        };
        EXPECT_EQ(call.pfun(this->list, nullptr), 0U);
        EXPECT_EQ(this->Text(), "[x]");
        g_onRelease = nullptr;
    }
}

// ---- walks ----

TYPED_TEST_P(ListTest, WalkRefusesNullsAndAnEmptyList)
{
    using List = TypeParam;
    Walker<List::Process_List> walker;
    EXPECT_EQ(List::Process_List(nullptr, walker.Visit, &walker, nullptr), List::kErrInvalid);
    this->Build("");
    EXPECT_EQ(List::Process_List(this->list, nullptr, &walker, nullptr), List::kErrInvalid);
    EXPECT_EQ(walker.Walk(this->list), List::kErrNull);
    EXPECT_EQ(walker.visited, "");
}

TYPED_TEST_P(ListTest, WalkPassesItsArgumentsUnchecked)
{
    using List = TypeParam;
    static std::vector<const void *> passed;
    const auto note = [](void *pCondition, void *pUserNode, void **ppOther) {
        passed.insert(passed.end(), {pCondition, pUserNode, ppOther});
        return QAL_UINT32{0};
    };
    passed.clear();
    this->Build("[a]b");
    int condition = 0;
    void *pOther = nullptr;
    EXPECT_EQ(List::Process_List(this->list, note, &condition, &pOther), 0U);
    EXPECT_EQ(List::Process_List(this->list, note, nullptr, nullptr), 0U);
    const std::vector<const void *> expected = {&condition, User('a'), &pOther,   &condition,
                                                User('b'),  &pOther,   nullptr,   User('a'),
                                                nullptr,    nullptr,   User('b'), nullptr};
    EXPECT_EQ(passed, expected);
}

TYPED_TEST_P(ListTest, WalkPutsTheCursorOnEachElement)
{
    using List = TypeParam;
    this->Build("ab[c]d");
    Walker<List::Process_List> walker;
    std::string texts;
    walker.onVisit = [&](char) {
        texts += this->Text() + " ";
        return 0U;
    };
    EXPECT_EQ(walker.Walk(this->list), 0U);
    EXPECT_EQ(texts, "[a]bcd a[b]cd ab[c]d abc[d] ");
    EXPECT_EQ(this->Text(), "abc[d]");
}

TYPED_TEST_P(ListTest, WalkStopsAtOnceWithTheCursorWhereTheCallbackLeftIt)
{
    using List = TypeParam;
    for (const QAL_UINT32 ulStop : {1U, 0x80000000U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(ulStop);
        this->Build("[a]bcd");
        Walker<List::Process_List> walker;
        walker.onVisit = [&](char ch) { return ch == 'c' ? ulStop : 0; };
        EXPECT_EQ(walker.Walk(this->list), List::kErrBreak);
        EXPECT_EQ(walker.visited, "abc");
        EXPECT_EQ(this->Text(), "ab[c]d");
    }
    this->Build("[a]bcd");
    Walker<List::Process_List> walker;
    walker.onVisit = [&](char ch) { return ch == 'b' ? List::Delete_CurNode(this->list) + 1 : 0; };
    EXPECT_EQ(walker.Walk(this->list), List::kErrBreak);
    EXPECT_EQ(walker.visited, "ab");
    EXPECT_EQ(this->Text(), "a[c]d");
}

/// In each case the callback does what the name of the case says, in a list of three letters.
TYPED_TEST_P(ListTest, WalkContinuesFromTheCursor)
{
    using List = TypeParam;
    void *pResult = nullptr;
    bool isDone = false; // set once the callback has acted, so that it acts only once
    const auto at = [&](char chAt, std::function<void()> act) {
        return [&isDone, chAt, act](char ch) {
            if (ch == chAt && !isDone) {
                isDone = true;
                act();
            }
            return QAL_UINT32{0};
        };
    };
    const auto removeCurrent = [&] { EXPECT_EQ(List::Remove_CurNode(this->list, &pResult), 0U); };
    const auto deleteCurrent = [&] { EXPECT_EQ(List::Delete_CurNode(this->list), 0U); };
    const auto query = [&](char ch) {
        EXPECT_EQ(List::Query(this->list, &ch, nullptr, &pResult), 0U);
    };
    const auto insert = [&](typename List::Position enPosition) {
        EXPECT_EQ(List::Insert(this->list, User('x'), enPosition), 0U);
    };
    const struct {
        const char *pszName;
        std::function<QAL_UINT32(char)> onVisit;
        const char *pszVisited;
        const char *pszAfter;
    } aCase[] = {
        {"does nothing", nullptr, "abc", "ab[c]"},
        {"deletes each element", [&](char) { return List::Delete_CurNode(this->list); }, "abc", ""},
        {"deletes the first each time", [&](char) { return List::Delete_HeadNode(this->list); },
         "abc", ""},
        {"removes the first", at('a', removeCurrent), "abc", "b[c]"},
        {"deletes a middle one", at('b', deleteCurrent), "abc", "a[c]"},
        {"deletes the last: visits its predecessor again", at('c', deleteCurrent), "abcb", "a[b]"},
        {"deletes all but the last",
         [&](char ch) { return ch != 'c' ? List::Delete_CurNode(this->list) : 0; }, "abc", "[c]"},
        {"deletes the one before",
         at('b',
            [&] {
                query('a');
                deleteCurrent();
            }),
         "abc", "b[c]"},
        {"deletes the one after",
         at('a',
            [&] {
                query('b');
                deleteCurrent();
            }),
         "ac", "a[c]"},
        {"deletes the tail from the head: continues with the new tail",
         at('a', [&] { EXPECT_EQ(List::Delete_TailNode(this->list), 0U); }), "ab", "a[b]"},
        {"empties the list",
         at('b',
            [&] {
                while (List::Delete_TailNode(this->list) == 0) {
                }
            }),
         "ab", ""},
        {"queries a later one: continues with it", at('a', [&] { query('c'); }), "ac", "ab[c]"},
        {"queries an earlier one: goes back", at('c', [&] { query('b'); }), "abcbc", "ab[c]"},
        {"queries without a match",
         at('a',
            [&] {
                const char ch = 'z';
                EXPECT_EQ(List::Query(this->list, &ch, nullptr, &pResult), List::kErrFind);
            }),
         "abc", "ab[c]"},
        {"moves the cursor forward", at('a', [&] { EXPECT_EQ(List::NextPtr(this->list), 0U); }),
         "abc", "ab[c]"},
        {"moves the cursor back", at('b', [&] { EXPECT_EQ(List::PriorPtr(this->list), 0U); }),
         "ababc", "ab[c]"},
        {"moves the cursor there and back",
         at('b',
            [&] {
                EXPECT_EQ(List::NextPtr(this->list), 0U);
                EXPECT_EQ(List::PriorPtr(this->list), 0U);
            }),
         "abc", "ab[c]"},
        {"goes to the start", at('b', [&] { EXPECT_EQ(List::Set_CurPtr(this->list), 0U); }),
         "ababc", "ab[c]"},
        {"inserts before: continues with the new one", at('b', [&] { insert(List::kFrontCur); }),
         "abxbc", "axb[c]"},
        {"inserts after: continues with the new one", at('b', [&] { insert(List::kAfterCur); }),
         "abxc", "abx[c]"},
        {"inserts after and comes back",
         at('b',
            [&] {
                insert(List::kAfterCur);
                EXPECT_EQ(List::PriorPtr(this->list), 0U);
            }),
         "abxc", "abx[c]"},
        {"inserts at the front: continues from there", at('c', [&] { insert(List::kFrontFirst); }),
         "abcxabc", "xab[c]"},
        {"inserts at the end: continues there", at('a', [&] { insert(List::kAfterLast); }), "ax",
         "abc[x]"},
        {"walks the list itself: continues where the inner walk ended",
         at('a',
            [&] {
                Walker<List::Process_List> inner;
                EXPECT_EQ(inner.Walk(this->list), 0U);
                EXPECT_EQ(inner.visited, "abc");
            }),
         "ac", "ab[c]"},
        {"walks the list itself at the end",
         at('c',
            [&] {
                Walker<List::Process_List> inner;
                EXPECT_EQ(inner.Walk(this->list), 0U);
            }),
         "abc", "ab[c]"},
    };
    for (const auto &c : aCase) {
        SCOPED_TRACE(c.pszName);
        isDone = false;
        this->Build("a[b]c");
        Walker<List::Process_List> walker{c.onVisit, ""};
        EXPECT_EQ(walker.Walk(this->list), 0U);
        EXPECT_EQ(walker.visited, c.pszVisited);
        EXPECT_EQ(this->Text(), c.pszAfter);
    }
}

/// What is visited depends on whether the new element gets the place of the removed one.
TYPED_TEST_P(ListTest, WalkComparesPlacesWhenTheCurrentElementIsReplaced)
{
    using List = TypeParam;
    this->Build("[a]bc");
    Walker<List::Process_List> walker;
    bool isSamePlace = false;
    walker.onVisit = [&](char ch) {
        if (ch == 'a') {
            const std::uint64_t place = List::Observe(this->list).places[0];
            EXPECT_EQ(List::Delete_CurNode(this->list), 0U);
            EXPECT_EQ(List::Insert(this->list, User('x'), List::kFrontCur), 0U);
            isSamePlace = List::Observe(this->list).places[0] == place;
        }
        return 0U;
    };
    EXPECT_EQ(walker.Walk(this->list), 0U);
    EXPECT_EQ(walker.visited, isSamePlace ? "abc" : "axbc");
    EXPECT_EQ(this->Text(), "xb[c]");
    if (List::kCapacity != 0) {
        EXPECT_TRUE(isSamePlace); // the slot freed last is taken first
    }
}

// ---- everything at once ----

TYPED_TEST_P(ListTest, RandomCallsMatchAPlainModel)
{
    using List = TypeParam;
    Random random;
    SCOPED_TRACE(random.Trace());
    this->Build("");
    RandomCalls<List> calls(this->list, random);
    for (int i = 0; i < 8000 && !this->HasFailure(); ++i) {
        calls.Step();
    }
}

REGISTER_TYPED_TEST_SUITE_P(
    ListTest, InitRefusesNullArguments, InitWithoutMemoryLeavesTheHandle, InitMakesAnEmptyList,
    DeinitReleasesUserNodesForFlag0Only, InsertPutsTheElementAtItsPosition,
    InsertRefusesNullsBeforeItAllocates, CursorCallsMoveTheCursorAndReturnElements,
    RemovalMovesTheCursorBesideTheGap, NullArgumentsAreRefused, SearchesTakeTheFirstMatch,
    SearchesCheckTheirArgumentsFirst, SearchesNeedAComparator, ReleaseRunsAfterTheElementIsUnlinked,
    WalkRefusesNullsAndAnEmptyList, WalkPassesItsArgumentsUnchecked, WalkPutsTheCursorOnEachElement,
    WalkStopsAtOnceWithTheCursorWhereTheCallbackLeftIt, WalkContinuesFromTheCursor,
    WalkComparesPlacesWhenTheCurrentElementIsReplaced, RandomCallsMatchAPlainModel);

} // namespace wyx::test

#endif
