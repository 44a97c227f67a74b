/**
 * @file os_adapter.h
 * @brief The platform services that the library needs: memory, files, the clock and strings.
 *
 * The shared library calls the services of this header and of bounded.h through the dynamic linker.
 * So a client can put an adapter of its own in place of libwyx_os_adapter, the default adapter, and
 * a test can put a double in front of it.
 *
 * The two headers are the contract that every adapter must keep. What only the default adapter
 * promises is marked *Default adapter*.
 *
 * @code{.c}
 * QAL_UINT32 len = XELP_StrLen(text);
 * XELP_S_File *file = XELP_Fopen("list.new", "w");
 * if (file != NULL) {
 *     int isWhole = XELP_Fwrite(text, 1, len, file) == len;
 *     if (XELP_Fclose(file) != 0 || !isWhole) {
 *         if (XELP_Remove("list.new") != 0) { // a failed close can make it fail, once
 *             XELP_Remove("list.new");
 *         }
 *     } else {
 *         status = XELP_Rename("list.new", "list");
 *     }
 * }
 * file = XELP_Fopen("list", "r");
 * if (file != NULL) {
 *     QAL_INT32 byte;
 *     while ((byte = XELP_Fgetc(file)) != -1) {
 *         Show(byte);
 *     }
 *     XELP_Fclose(file);
 * }
 * @endcode
 *
 * Every service may be called from any thread. Two threads must not use the same open file at once.
 */
#ifndef WYX_OS_ADAPTER_H
#define WYX_OS_ADAPTER_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/** @name Memory
 * Each caller passes its own source line and file, so that an adapter can attribute every block to
 * the line that allocated or released it. @{ */

/**
 * @brief Allocates a block whose content is undefined.
 *
 * @param[in] ulSize   size in bytes; 0 counts as 1
 * @param[in] ulLine   the caller's source line
 * @param[in] pszFile  the caller's source file; must stay valid until the block is released
 * @return the block, aligned as by malloc(), handed over: release it with XELP_MemFreeD() or
 *         XELP_MemFreeSetNullD(); null if there is no memory.
 */
WYX_API void *XELP_MemMallocD(QAL_UINT32 ulSize, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

/**
 * @brief Allocates a block filled with zero bytes.
 *
 * @param[in] ulSize      size in bytes; 0 counts as 1
 * @param[in] ulReserved  always 0
 * @param[in] ulLine      the caller's source line
 * @param[in] pszFile     the caller's source file; must stay valid until the block is released
 * @return as for XELP_MemMallocD().
 */
WYX_API void *XELP_MemMallocS(QAL_UINT32 ulSize, QAL_UINT32 ulReserved, QAL_UINT32 ulLine,
                              const QAL_CHAR *pszFile);

/**
 * @brief Releases a block.
 *
 * @param[in] pBlock   a block from either allocator, taken; null is allowed and does nothing
 * @param[in] ulLine   the caller's source line
 * @param[in] pszFile  the caller's source file
 */
WYX_API void XELP_MemFreeD(void *pBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

/**
 * @brief Releases the block that a variable points to, and sets the variable to null.
 *
 * @param[in,out] ppBlock  the variable's address, not null; the block is taken, and may be null
 * @param[in]     ulLine   the caller's source line
 * @param[in]     pszFile  the caller's source file
 */
WYX_API void XELP_MemFreeSetNullD(void **ppBlock, QAL_UINT32 ulLine, const QAL_CHAR *pszFile);

/** @} */
/** @name Files
 * @{ */

/**
 * @brief Opens a file.
 *
 * An adapter must refuse a regular file that it cannot read to its end. XELP_Fgetc() cannot report
 * a read error: the library would take it for the end of the file, and the next save would lose the
 * rest.
 *
 * *Default adapter*: descriptors are close-on-exec. If this or any other file service fails, errno
 * says why. Directories and modes other than "r" and "w" are refused. For reading, a regular file
 * is read whole into memory at once, and its descriptor is closed; a read error makes this call
 * fail. Pipes and devices are read piece by piece as XELP_Fgetc() needs more, and end at a read
 * error. Opening a FIFO waits until its other end has been opened. For writing, a name that is
 * itself a symbolic link is refused. A failed call leaves no new file and changes no old one.
 *
 * *Default adapter*: a save of the INI module writes a new file whose name ends in ".ibk". If this
 * process fails to open such a name for reading, and then opens it for writing within ten seconds,
 * the second call fails if the name exists by then: the file may belong to another process's save.
 * The adapter remembers the last 64 of these failures and of the renames that XELP_Remove()
 * describes, counted together.
 *
 * @param[in] pszName  the file's name, borrowed
 * @param[in] pszMode  "r": an existing file for reading; "w": a new or emptied file for writing.
 *                     Neither translates line ends.
 * @return the file, handed over: release it with XELP_Fclose(); null on failure.
 */
WYX_API XELP_S_File *XELP_Fopen(const QAL_CHAR *pszName, const QAL_CHAR *pszMode);

/**
 * @brief Reads the next byte.
 *
 * @param[in] pstruFile  a file open for reading
 * @return the byte as 0 to 255, or -1 at the end of the file. There is no value for an error: see
 *         XELP_Fopen(). *Default adapter*: after the first -1 every call returns -1 until the
 *         position moves back, even if a pipe gains another writer.
 */
WYX_API QAL_INT32 XELP_Fgetc(XELP_S_File *pstruFile);

/**
 * @brief Moves the position in a file.
 *
 * *Default adapter*: a step back of one byte after a read works for pipes, too. In a regular file
 * opened for reading, the position can move anywhere from the start to the end; in a pipe or
 * device, only within the part that is buffered. In a file opened for writing, it can move wherever
 * the system allows, unless a write has failed.
 *
 * @param[in] pstruFile  an open file
 * @param[in] lOffset    distance in bytes
 * @param[in] lWhence    where to measure from: 0 the start, 1 the current position, 2 the end
 * @return 0, or another value on failure, which leaves the position as it was.
 */
WYX_API QAL_INT32 XELP_Fseek(XELP_S_File *pstruFile, QAL_LONG lOffset, QAL_INT32 lWhence);

/**
 * @brief Writes items.
 *
 * *Default adapter*: what was reported as written to a local file system cannot be lost to a full
 * disk: the kernel has it, or blocks are reserved for it. A short count can mean that the disk is
 * full or that the process's file size limit is reached. The limit raises no SIGXFSZ here, but a
 * FIFO without a reader raises SIGPIPE. After an error the file accepts nothing more; it may end
 * with part of the item that failed.
 *
 * @param[in] pData      the items, borrowed
 * @param[in] ulSize     size of an item in bytes
 * @param[in] ulCount    number of items
 * @param[in] pstruFile  a file open for writing
 * @return the number of items written whole, fewer than @p ulCount after an error; 0 if @p ulSize
 *         or @p ulCount is 0.
 */
WYX_API QAL_UINT32 XELP_Fwrite(const void *pData, QAL_UINT32 ulSize, QAL_UINT32 ulCount,
                               XELP_S_File *pstruFile);

/**
 * @brief Closes a file.
 *
 * *Default adapter*: writes out what is still buffered, and flushes the file and then its directory
 * to the device. If any step fails, this call fails. If XELP_Fwrite() has already reported a
 * failure, this call fails without flushing the file. If the directory cannot be opened, it is
 * flushed by sync(), which reports no failure. With the build option WYX_OS_ADAPTER_FLUSH=OFF,
 * neither this call nor XELP_Rename() flushes anything, and a power cut can destroy the files
 * written last.
 *
 * *Default adapter*: callers rarely check the result. So a failure that XELP_Fwrite() has not
 * reported makes the same thread's next XELP_Remove() or XELP_Rename() fail as well, once, and do
 * nothing else: the file that it would have removed or replaced survives. (If the failure cannot be
 * stored for the thread, the next such call of any thread fails instead.)
 *
 * @param[in] pstruFile  the file, taken, whatever the result
 * @return 0, or another value if writing out, flushing or closing the file failed.
 */
WYX_API QAL_INT32 XELP_Fclose(XELP_S_File *pstruFile);

/**
 * @brief Removes a file.
 *
 * *Default adapter*: never removes a directory. It may also report an earlier failure: see
 * XELP_Fclose(). After this process has renamed a file whose name ended in ".ibk", the next call
 * for the old name fails: a file that has that name by then may belong to another process. The
 * adapter forgets the rename after ten to eleven seconds, or once this process opens the old name
 * for writing or renames a file to it. XELP_Fopen() says how many such renames are remembered.
 *
 * @param[in] pszName  the file's name, borrowed
 * @return 0, or another value if nothing was removed, for example because there is no such file.
 */
WYX_API QAL_INT32 XELP_Remove(const QAL_CHAR *pszName);

/**
 * @brief Renames a file; replaces a file that has the new name.
 *
 * *Default adapter*: like XELP_Fclose(), flushes the directory of the new name, and that of the old
 * name if it is another one. If that fails, this call fails although the file has its new name,
 * because a power cut may bring back the old one. It may also report an earlier failure: see
 * XELP_Fclose().
 *
 * @param[in] pszOldName  the file's name, borrowed
 * @param[in] pszNewName  its new name, borrowed; must be on the same file system
 * @return 0, or another value on failure.
 */
WYX_API QAL_INT32 XELP_Rename(const QAL_CHAR *pszOldName, const QAL_CHAR *pszNewName);

/** @} */
/** @name Clock
 * @{ */

/**
 * @brief The current time.
 *
 * *Default adapter*: milliseconds since 1970-01-01 00:00 UTC. A process never gets a value twice:
 * if it asks more often than once a millisecond, or if the clock is set back, each call returns one
 * more than the call before, until the clock has caught up. A save puts the time into the name of
 * its new file, so two saves in one process never write to the same new file.
 *
 * @return a count of milliseconds.
 */
WYX_API QAL_UINT64 XELP_GetSystemTime(void);

/** @} */
/** @name Strings
 * Bytes are unsigned values here, and no call depends on the locale. @{ */

/**
 * @brief Length of a string.
 *
 * @param[in] pszStr  the string
 * @return its length in bytes modulo 2^32, without the terminator.
 */
WYX_API QAL_UINT32 XELP_StrLen(const QAL_CHAR *pszStr);

/**
 * @brief First occurrence of a byte.
 *
 * @param[in] pszStr  the string
 * @param[in] lChar   the value, reduced to a byte; 0 finds the string's own terminator
 * @return a pointer to it, or null if there is none.
 */
WYX_API QAL_CHAR *XELP_StrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar);

/**
 * @brief Last occurrence of a byte.
 *
 * @param[in] pszStr  the string
 * @param[in] lChar   the value, reduced to a byte; 0 finds the string's own terminator
 * @return a pointer to it, or null if there is none.
 */
WYX_API QAL_CHAR *XELP_StrrChr(const QAL_CHAR *pszStr, QAL_INT32 lChar);

/**
 * @brief First occurrence of a string in another.
 *
 * @param[in] pszStr  the string to search
 * @param[in] pszSub  the string to find; an empty one is found at the start
 * @return a pointer to its first byte, or null if there is none.
 */
WYX_API QAL_CHAR *XELP_StrStr(const QAL_CHAR *pszStr, const QAL_CHAR *pszSub);

/**
 * @brief Compares two strings without regard to the case of ASCII letters.
 *
 * For the order, every ASCII letter counts as lower case, so `_` sorts before `A`.
 *
 * @param[in] pszLeft   a string
 * @param[in] pszRight  another
 * @return 0 if they are equal, a value below 0 if the left one sorts first, or a value above 0 if
 *         the right one does.
 */
WYX_API QAL_INT32 XELP_StriCmp(const QAL_CHAR *pszLeft, const QAL_CHAR *pszRight);

/** @} */

WYX_C_END

#endif
