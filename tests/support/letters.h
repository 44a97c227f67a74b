// User nodes of the container tests: one for each letter.
#ifndef WYX_TESTS_SUPPORT_LETTERS_H
#define WYX_TESTS_SUPPORT_LETTERS_H

namespace wyx::test {

inline char g_letters[128];

/// The user node of a letter.
inline void *User(char ch)
{
    char *const pch = &g_letters[static_cast<unsigned char>(ch)];
    *pch = ch;
    return pch;
}

constexpr char kUntouched = '?'; ///< what a result holds before a call
constexpr char kNull = '-';

/// The first letter of a user node or a key, kUntouched or kNull.
inline char Letter(const void *p)
{
    return p == nullptr ? kNull : *static_cast<const char *>(p);
}

} // namespace wyx::test

#endif
