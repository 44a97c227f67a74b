#include "file_names.h"

#include <time.h>

#include <atomic>
#include <cstddef>
#include <cstring>

namespace {

using wyx::os::Seen;

constexpr QAL_UINT32 kNotes = 64;
constexpr QAL_UINT64 kNoteSeconds = 10;

// A note is one word, so that no lock is needed: 40 bits of the name's hash and 24 of the time, in
// seconds. One pair of names in 2^40 shares a hash; then a call may be refused needlessly.
constexpr int kTimeBits = 24;
constexpr QAL_UINT64 kTimeMask = (QAL_UINT64{1} << kTimeBits) - 1;

constinit std::atomic<QAL_UINT64> aullNotes[kNotes] = {}; // 0: free
constinit std::atomic<QAL_UINT32> ulNext = 0;             // where the next note goes

/// The hash part of a note: FNV-1a over what was seen and the name.
QAL_UINT64 HashOf(Seen enSeen, const QAL_CHAR *pszName)
{
    constexpr QAL_UINT64 kOffset = 0xCBF29CE484222325U;
    constexpr QAL_UINT64 kPrime = 0x100000001B3U;
    QAL_UINT64 ullHash = (kOffset ^ static_cast<QAL_UINT64>(enSeen)) * kPrime;
    for (; *pszName != '\0'; ++pszName) {
        ullHash = (ullHash ^ static_cast<QAL_UINT8>(*pszName)) * kPrime;
    }
    return ullHash & ~kTimeMask;
}

bool BelongsToASave(const QAL_CHAR *pszName)
{
    constexpr QAL_CHAR kSuffix[] = ".ibk";
    constexpr std::size_t kLen = sizeof kSuffix - 1;
    const std::size_t ulLen = std::strlen(pszName);
    return ulLen >= kLen && std::memcmp(pszName + ulLen - kLen, kSuffix, kLen) == 0;
}

QAL_UINT64 Now()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now); // cannot fail: the clock exists and `now` is writable
    return static_cast<QAL_UINT64>(now.tv_sec) & kTimeMask;
}

} // namespace

namespace wyx::os {

void AddNote(Seen enSeen, const QAL_CHAR *pszName)
{
    if (BelongsToASave(pszName)) {
        aullNotes[ulNext++ % kNotes] = HashOf(enSeen, pszName) | Now();
    }
}

bool RemoveNote(Seen enSeen, const QAL_CHAR *pszName)
{
    if (!BelongsToASave(pszName)) {
        return false;
    }
    const QAL_UINT64 ullHash = HashOf(enSeen, pszName);
    bool isFound = false;
    for (std::atomic<QAL_UINT64> &note : aullNotes) {
        QAL_UINT64 ullNote = note;
        if (ullNote != 0 && (ullNote & ~kTimeMask) == ullHash) {
            isFound |= ((Now() - ullNote) & kTimeMask) <= kNoteSeconds;
            note.compare_exchange_strong(ullNote, 0); // unless a new note took its place
        }
    }
    return isFound;
}

} // namespace wyx::os
