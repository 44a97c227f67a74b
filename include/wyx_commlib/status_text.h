/**
 * @file status_text.h
 * @brief What a status means, in words: one function for each error enumeration, inline.
 *
 * `scripts/make_status_text.py` makes the texts from the enumerators' comments; a number that two
 * enumerators share has the texts of both. They are for logs and messages and may be reworded in
 * any release; programs should compare numbers. A number means something only together with its
 * module, so no one function covers all of them.
 *
 * Any number of threads may call the functions.
 * @code{.c}
 * QAL_UINT32 status = XELP_IniGetFileContent("net.ini", &doc);
 * if (status != XELP_ERR_INI_OK) {
 *     fprintf(stderr, "net.ini: %s (%u)\n", wyx_ini_status_text(status), status);
 * }
 * @endcode
 */
#ifndef WYX_COMMLIB_STATUS_TEXT_H
#define WYX_COMMLIB_STATUS_TEXT_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * @brief The text of a status of the CRC-16 calls.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_crc16_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "a pointer is null";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the CRC-32 calls.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_crc32_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "a pointer is null";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the doubly linked list.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_dlink_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "a null argument, no comparator, or an invalid position";
        case 20:
            return "no memory";
        case 30:
            return "no element matches";
        case 40:
            return "the cursor is already on the first element";
        case 50:
            return "the cursor is already on the last element";
        case 60:
            return "the list is empty";
        case 70:
            return "the callback stopped the walk";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the hash table.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_hash_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "a null or zero argument";
        case 20:
            return "no memory";
        case 30:
            return "no entry has the key";
        case 40:
            return "reserved, never returned";
        case 50:
            return "reserved, never returned";
        case 60:
            return "the table is empty";
        case 70:
            return "the callback stopped the walk";
        case 80:
            return "the hash function failed";
        case 90:
            return "an entry already has the key";
        case 100:
            return "the cursor is nowhere";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the INI calls.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_ini_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "no section of that name, or no section at all";
        case 20:
            return "no key of that name in the section, or no key at all";
        case 30:
            return "the file cannot be opened for reading";
        case 40:
            return "never returned";
        case 50:
            return "the saved file cannot be created or put in place";
        case 60:
            return "a key line before the first section header";
        case 70:
            return "never returned";
        case 80:
            return "no memory, or seeking back by a byte failed";
        case 90:
            return "never returned";
        case 100:
            return "the adapter found the = of a key line, but not when asked again";
        case 110:
            return "malformed section header";
        case 120:
            return "no key name, or a malformed one";
        case 130:
            return "end of file, a document without lines, a null or empty text or file name, or "
                   "a line that does not fit its buffer";
        case 140:
            return "a line of more than 511 bytes";
        case 150:
            return "never returned";
        case 160:
            return "a line of no known kind, text other than a comment after a header, or no "
                   "comment where one was expected";
        case 170:
            return "a null argument, a null pStrLine, a line that is an empty string, or text "
                   "too long for one line";
        case 180:
            return "the new file cannot be written, or its name is taken, or malformed value";
        case 190:
            return "a semicolon without a blank before it";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the address parsers.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_address_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 1:
            return "success, and the IPv4 text carried a port";
        case 10:
            return "a pointer is null";
        case 20:
            return "never returned";
        case 30:
            return "the text is malformed";
        default:
            return "unknown status";
    }
}

/**
 * @brief The text of a status of the fixed-capacity list.
 *
 * @param[in] ulStatus  the status
 * @return a constant string, never null: "success" for 0, "unknown status" for a number that
 *         is none of the statuses.
 */
static inline const QAL_CHAR *wyx_slink_status_text(QAL_UINT32 ulStatus)
{
    switch (ulStatus) {
        case 0:
            return "success";
        case 10:
            return "a null, zero or out-of-range argument, or no comparator";
        case 20:
            return "no memory";
        case 30:
            return "no free slot";
        case 40:
            return "no element matches";
        case 50:
            return "the cursor is already on the first element";
        case 60:
            return "the cursor is already on the last element";
        case 70:
            return "the list is empty";
        case 80:
            return "the callback stopped the walk";
        default:
            return "unknown status";
    }
}

WYX_C_END

#endif
