/**
 * @file ini_parser.h
 * @brief INI files: load, check, look up, edit and save.
 *
 * A document holds the lines of a file; calls parse the lines they need. A save keeps the lines
 * that no edit touched, but not always byte for byte. It folds lines of 80 bytes or more, and some
 * of these come back changed at the next load: with an LF instead of a CR LF, for example.
 * Continued lines are written joined, a last line without a line end gets a CR, and text after a
 * NUL is lost. docs/round-trips.md has the details, and `wyx ini check` warns if a save would
 * change a file.
 *
 * @code{.c}
 * XELP_IN_S_INI_FILE_STRUCT doc;
 * char *value = NULL;
 * if (XELP_IniGetFileContent("net.ini", &doc) == XELP_ERR_INI_OK) {
 *     if (XELP_IniGetKeyValue(&doc, "net", "port", &value) == XELP_ERR_INI_OK) {
 *         UsePort(value); // null if the key has no value
 *         XELP_MemFreeD(value, __LINE__, __FILE__); // from os_adapter.h
 *     }
 *     XELP_IniSetKeyValue(&doc, section, key, newValue);
 *     status = XELP_IniSaveFileContent("net.ini", &doc); // releases the document, even if it fails
 * }
 * @endcode
 * Every successful load needs exactly one XELP_IniFreeIniStruct() or XELP_IniSaveFileContent().
 *
 * ## The file
 * - A line ends at CR LF, LF CR, a lone LF or a lone CR. The line end is part of the line. A last
 *   line without a line end gets a CR.
 * - A backslash directly before a line end joins the next line to this one; the backslash and the
 *   line end are removed. A pair of backslashes is kept and joins nothing. A backslash before any
 *   other byte is kept; a backslash at the end of the file is dropped. Oddities: after a lone LF or
 *   CR, a line that *begins* with a backslash is joined to the line before it, whose line end stays
 *   in the text. If a joining backslash and an LF are followed by another LF, this LF ends the line
 *   at once: a CR or a backslash after it belongs to the next line. The same holds with LF and CR
 *   exchanged.
 * - A line may have at most 511 bytes, with its continuations joined and its line end included. If
 *   a line is longer, the load fails. Oddity: a last line of 511 bytes without a line end is
 *   loaded and gets a CR, which may make it too long to be loaded again after a save.
 * - A NUL ends the text of its line. The text then gets a CR unless it already ends in a line end.
 *   A NUL at the start of a line ends the file, unless that line is too long.
 * - A byte-order mark is not recognised: it belongs to the first line.
 *
 * ## The lines
 * A blank is a tab or a space; a white byte is a blank, a CR or an LF. The first byte that is not a
 * blank decides what a line is:
 *
 * | line                  | first byte   | parts                                       |
 * |-----------------------|--------------|---------------------------------------------|
 * | `; timeouts`          | `;` or `#`   | a comment, skipped                          |
 * | (nothing but blanks)  | CR, LF, none | blank, skipped                              |
 * | `[ Net ] ;main`       | `[`          | section `Net`, comment `main`               |
 * | `port = 5060 ;sip`    | any other    | key `port`, value `5060`, comment `sip`     |
 * | `port= ;none`         | any other    | key `port`, no value, comment `none`        |
 * | `list="a ;b", c ;x`   | any other    | key `list`, value `"a ;b", c`, comment `x`  |
 * | `u=h;b ;c`            | any other    | key `u`, value `h;b ;c`, no comment         |
 *
 * - Blanks before a name, value or comment, and white bytes after it, are not part of it.
 * - A line that would be a key line but has no `=` is of no known kind. Every lookup, edit or
 *   check that reaches it fails with #XELP_ERR_INI_LINE_UNKNOWN.
 * - After a header, a comment begins at the first " ;" (a space and a semicolon); a tab instead of
 *   the space does not count.
 * - In a value, the first `;` decides whether there is a comment. If there is no space before it,
 *   the rest of the line belongs to the value. Otherwise the comment begins there, unless a
 *   quotation mark follows later in the line: then the first `;` after the first such mark decides
 *   in the same way. A quotation mark with a backslash directly before it does not count.
 * - Names are compared without regard to the case of ASCII letters.
 * - Oddity: if there is nothing but blanks between the `=` and the line end, the value is the first
 *   byte of the line end, CR or LF.
 * - A header and the lines up to the next header are a *block*. If a section has several blocks,
 *   lookups and XELP_IniSetKeyValue() use the last one, and deletions apply to all of them. If a
 *   key has several lines in a block, XELP_IniGetKeyValue() and XELP_IniSetKeyValue() use the last
 *   one, and XELP_IniDelKey() deletes all of them.
 *
 * ## Limits
 * In the worst case, a lookup or an edit takes time proportional to the number of lines, deleted
 * ones included: docs/modules/ini_parser.md has figures. To create many keys, write the file and
 * load it.
 *
 * Copying a text of 4 GiB or more, terminator included, fails as if there were no memory
 * (#XELP_ERR_INI_INTERNAL), or with the status that the call's description names for a text that is
 * too long.
 *
 * ## Threads
 * The lookups and XELP_IniCheckFile() may read a document on any number of threads at once. Any
 * other call must have the document to itself. A file may have only one saver at a time: see
 * XELP_IniSaveFileContent().
 */
#ifndef WYX_COMMLIB_INI_PARSER_H
#define WYX_COMMLIB_INI_PARSER_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * Statuses of the INI calls. The values are ABI: never renumbered, never reused.
 */
typedef enum xelpIniErrCode WYX_ENUM32 {
    XELP_ERR_INI_OK = 0,                 /**< success */
    XELP_ERR_INI_SECTION_NOT_FOUND = 10, /**< no section of that name, or no section at all */
    XELP_ERR_INI_KEY_NOT_FOUND = 20,     /**< no key of that name in the section, or no key at
                                              all */
    XELP_ERR_INI_OPEN_FILE = 30,         /**< the file cannot be opened for reading */
    XELP_ERR_INI_READ_FILE = 40,         /**< never returned */
    XELP_ERR_INI_CREATE_FILE = 50,       /**< the saved file cannot be created or put in place */
    XELP_ERR_INI_FILE_FORMAT = 60,       /**< a key line before the first section header */
    XELP_ERR_INI_FILE_EMPTY = 130,       /**< end of file, a document without lines, a null or
                                              empty text or file name, or a line that does not fit
                                              its buffer */
    XELP_ERR_INI_WRITE_FILE = 180,       /**< the new file cannot be written, or its name is
                                              taken */
    XELP_ERR_INI_SYSTEM_CALL = 70,       /**< never returned */
    XELP_ERR_INI_INTERNAL = 80,          /**< no memory, or seeking back by a byte failed */
    XELP_ERR_INI_EXCEED_BUF_SIZE = 90,   /**< never returned */
    XELP_ERR_INI_VALUE_NULL = 100,       /**< the adapter found the `=` of a key line, but not
                                              when asked again; cannot happen with a correct
                                              adapter */
    XELP_ERR_INI_SECTION = 110,          /**< malformed section header */
    XELP_ERR_INI_KEY_NAME = 120,         /**< no key name, or a malformed one */
    XELP_ERR_INI_KEY_VALUE = 180,        /**< malformed value; has the number of
                                              #XELP_ERR_INI_WRITE_FILE, on purpose */
    XELP_ERR_INI_COMMENT = 190,          /**< a `;` without a blank before it */
    XELP_ERR_INI_LINE_TOO_LONG = 140,    /**< a line of more than 511 bytes */
    XELP_ERR_INI_VALUE_INVALID = 150,    /**< never returned */
    XELP_ERR_INI_LINE_UNKNOWN = 160,     /**< a line of no known kind, text other than a comment
                                              after a header, or no comment where one was
                                              expected */
    XELP_ERR_INI_INPUT_PARA_ERR = 170    /**< a null argument, a null pStrLine, a line that is
                                              an empty string, or text too long for one
                                              line */
} xelpIniErrCode;

/** Kinds of a stored line. */
typedef enum WYX_ENUM32 {
    INI_COMENT_LINE = 0,   /**< comment; the name is spelled with a single M */
    INI_BLANK_LINE = 1,    /**< nothing but blanks before the line end */
    INI_SECTION_LINE = 2,  /**< section header */
    INI_KEYVALUE_LINE = 3, /**< key line */
    INI_INVALID_LINE = 4,  /**< nothing but blanks and no line end */
    INI_ERROR_LINE = 5,    /**< none of these */
    INI_LINE_BUTT = 255    /**< end marker */
} XELP_INI_E_LINE_TYPE;

/**
 * A document: an array of slots, each of which holds a line or is empty. The record is yours; what
 * it points to belongs to the library. A record in which every byte is zero holds no document. A
 * document *without lines* is one whose ulLineNum is 0. Deleting a line empties its slot and leaves
 * ulLineNum as it is.
 */
typedef struct XelpIniFileStruct {
    QAL_UINT32 ulLabel;      /**< 0 after a load, 1 as soon as a line has been stored or deleted.
                                  XELP_IniSaveFileContent() writes the document only if this is 1 */
    QAL_UINT32 ulLineNum;    /**< number of slots in use, empty ones included */
    QAL_UINT32 ulTotalLine;  /**< slots allocated: 200 at first, then 50 more at a time */
    QAL_UINT32 ulIniFileNum; /**< sum of the lineNum values that IniGetOneLine() reported for
                                  the lines loaded, minus 1 for each line deleted since */
    QAL_INT8 **pStrLine;     /**< the slots: each points to a line in an allocation of its own, or
                                  is null if empty. Slots from ulLineNum on are empty unless
                                  you store a line there */
} XELP_IN_S_INI_FILE_STRUCT;

/** @name Documents
 * @{ */

/**
 * @brief Loads a file.
 *
 * @param[in]  filename        the file's name, borrowed
 * @param[out] pStructIniLine  the document, handed over: release it with XELP_IniFreeIniStruct()
 *                             or XELP_IniSaveFileContent(). What the record held before is
 *                             overwritten, *not* released. After a failure the record is all zero,
 *                             but a null argument leaves it untouched
 * @return
 * - #XELP_ERR_INI_OK: loaded; an empty file becomes a document without lines
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument
 * - #XELP_ERR_INI_OPEN_FILE: the file cannot be opened
 * - #XELP_ERR_INI_LINE_TOO_LONG: a line of more than 511 bytes, with its continuations joined
 * - #XELP_ERR_INI_INTERNAL: no memory, or seeking back by a byte failed
 */
WYX_API QAL_UINT32 XELP_IniGetFileContent(const QAL_INT8 *filename,
                                          XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/**
 * @brief Releases a document and zeroes its record, which can then be used for another load.
 *
 * @param[in,out] pStructIniLine  the record, not null; it need not hold a document. The array and
 *                                the lines in its first ulLineNum slots are taken
 */
WYX_API void XELP_IniFreeIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/**
 * @brief Checks a whole document against a stricter grammar.
 *
 * Lookups and edits are more lenient on purpose: a document that fails this check may still be
 * usable.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[out] pulLineNo       number of a slot, counted from 1: that of the first line that
 *                             fails, or of the last slot in use if none does. Empty slots count,
 *                             and joined lines count as one, so the line may have another number
 *                             in the file. Untouched for a refused argument or a document without
 *                             lines
 * @return
 * - #XELP_ERR_INI_OK: well formed
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument, a null pStrLine, or a line that is an empty
 *   string
 * - #XELP_ERR_INI_FILE_EMPTY: no lines, or only empty slots
 * - #XELP_ERR_INI_LINE_UNKNOWN: a line of no known kind
 * - #XELP_ERR_INI_FILE_FORMAT: a key line before the first header
 * - a status of IniCheckSectionLine() or IniCheckKeyLine()
 */
WYX_API QAL_UINT32 XELP_IniCheckFile(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                     QAL_UINT32 *pulLineNo);

/**
 * @brief Saves a document if it has changes, and releases it whatever the result.
 *
 * The lines go to a new file; then the file that you name, the *target*, is removed, and the new
 * file gets its name. If the target is a symbolic link, the link itself is replaced. The
 * replacement is not atomic: after a crash between the removal and the renaming, only the new file
 * has the content. docs/durability.md says what is on disk at each point, and how to recover.
 *
 * **A target may have only one saver at a time, across all processes.** Of two savers at the same
 * time, one may lose its edits; with an adapter of your own, what both of them wrote can be lost.
 * Take a lock before you load and keep it until the save returns, as docs/durability.md shows. Do
 * not lock the target itself, which a save replaces.
 *
 * **The name of the new file** is the target's path without its last dot and what follows it, then
 * the time in milliseconds, then ".ibk": net1700000000123.ibk for net.ini. With today's 13 digits
 * that adds 17 bytes, but the name may be at most 14 bytes longer than the path. So:
 * - A save to a path without a dot fails, and so does a save to a path with fewer than two bytes
 *   after its last dot. `./cfg` works where `cfg` does not.
 * - If the last dot is in the name of a directory, the new file may be outside the target's
 *   directory: for `my.dir/cfg` it is beside `my.dir`, and for `../cfg` it is in the working
 *   directory. If the new file is on another file system than the target, the target is removed
 *   and the renaming then fails: only the new file has the content.
 * - On most file systems a name may have 255 bytes, so a target `NAME.ini` can be saved only if
 *   `NAME` has at most 238.
 *
 * **A save does not create its target.** If no file has the target's name, the removal fails, and
 * the content stays in the new file. Create an empty file first.
 *
 * A line of 80 bytes or more is folded: a backslash and an LF follow every 78 or 79 bytes until
 * fewer than 80 bytes are left.
 *
 * @param[in]     filename        the target's name, borrowed
 * @param[in,out] pStructIniLine  the document, not null; it is taken, and its record is all zero
 *                                afterwards
 * @return
 * - #XELP_ERR_INI_OK: written and in place; or the document's ulLabel was not 1, so nothing was
 *   written and the name was ignored
 * - #XELP_ERR_INI_FILE_EMPTY: the name is null or empty
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - #XELP_ERR_INI_WRITE_FILE: the target is as it was. Either a file already has the new file's
 *   name and is left alone, or not everything could be written, and the new file was removed if
 *   that was possible
 * - #XELP_ERR_INI_CREATE_FILE: the new file cannot be created, and the target is as it was; or the
 *   target cannot be removed, or the new file cannot be renamed, and the new file stays with the
 *   whole content. With the default adapter, a failure to close the new file, or to flush it or a
 *   directory, also has this status; docs/durability.md says which file then has the content
 */
WYX_API QAL_UINT32 XELP_IniSaveFileContent(const QAL_INT8 *filename,
                                           XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/** @} */
/** @name Lookups
 * A lookup in a section reads the document from its end up to the section's last header. A lookup
 * fails as soon as it reaches a line that is an empty string (#XELP_ERR_INI_INPUT_PARA_ERR), a line
 * of no known kind (#XELP_ERR_INI_LINE_UNKNOWN), a malformed header or, in the section's block, a
 * malformed key line (a status of IniParseSectionLine() or IniParseKeyLine()). @{ */

/**
 * @brief The value of a key.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[in]  section         the section's name, borrowed; the section's last block is searched
 * @param[in]  key             the key's name, borrowed; the key's last line there is used
 * @param[out] buf             the value, handed over: release it with XELP_MemFreeD(). Null if the
 *                             key has no value or the search fails; untouched for a refused
 *                             argument or a document without lines
 * @return
 * - #XELP_ERR_INI_OK: found, with or without a value
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or a null pStrLine
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND, #XELP_ERR_INI_KEY_NOT_FOUND
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail
 */
WYX_API QAL_UINT32 XELP_IniGetKeyValue(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                       const QAL_INT8 *section, const QAL_INT8 *key,
                                       QAL_INT8 **buf);

/**
 * @brief The names of all sections, in the document's order, repeated ones included.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[out] sectionNum      number of names; after a failure, the number found before it
 * @param[out] sectionList     the names with a null pointer after the last, handed over: release
 *                             the list with XELP_IniFreeList(). After a failure the pointer may
 *                             hold the address of a list that was already released: neither use nor
 *                             release that list. Both results are untouched for a refused argument
 *                             or a document without lines
 * @return
 * - #XELP_ERR_INI_OK: at least one section
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or a null pStrLine
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND: the document has no section
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail; malformed key lines do not count here
 */
WYX_API QAL_UINT32 XELP_IniGetSectionList(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                          QAL_UINT32 *sectionNum, QAL_INT8 ***sectionList);

/**
 * @brief The names of the keys in the last block of a section, in the document's order, repeated
 * ones included.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[in]  section         the section's name, borrowed
 * @param[out] keyNum          number of names, as for XELP_IniGetSectionList()
 * @param[out] keyList         the names, as for XELP_IniGetSectionList()
 * @return
 * - #XELP_ERR_INI_OK: at least one key
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or a null pStrLine
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND; #XELP_ERR_INI_KEY_NOT_FOUND: the block has no key
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail
 */
WYX_API QAL_UINT32 XELP_IniGetKeyList(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                      const QAL_INT8 *section, QAL_UINT32 *keyNum,
                                      QAL_INT8 ***keyList);

/**
 * @brief Releases a list of names.
 *
 * @param[in] strList  the list, taken with its names up to the first null pointer; null does
 *                     nothing
 */
WYX_API void XELP_IniFreeList(QAL_INT8 **strList);

/** @} */
/** @name Edits
 * An edit changes the document in memory, and sets its ulLabel to 1 as soon as it stores or deletes
 * a line. There is no rollback: what was done before a failure stays done. A line that makes a
 * lookup fail has the same effect on an edit that reads it. Arguments may point into the document's
 * own lines. @{ */

/**
 * @brief Sets the value of a key; adds the key and its section if they are missing.
 *
 * If the section's last block has the key, the key's last line there is rewritten as
 * `key=value ;comment`, with the old spelling of the key and the old comment, if any. Otherwise the
 * key goes after the last line of that block. A new section goes at the end of the document. Lines
 * that an edit writes end in LF.
 *
 * Names and values are written as given, neither checked nor escaped. The following may read back
 * as something else, make later calls fail, or change other lines at the next load:
 * - a name or value that holds a line end: what follows it may become another line
 * - an empty value: it reads back as the line end, or as no value if the line has a comment
 * - a value that begins with a blank or ends in a white byte: those bytes are lost
 * - a value that holds " ;": a comment may begin there
 * - a value that holds `;`, if the line has a comment: the comment may become part of the value
 * - a value that ends in an odd number of backslashes, if the line has no comment: the last
 *   backslash joins the next line to this one
 * - a key that is empty, begins or ends with a white byte, begins with `[`, `#`, `;` or a
 *   backslash, or holds `=`
 * - a section name that is empty, begins with a blank or ends in a white byte, or holds `]`
 *
 * The old comment loses the blanks around it. If it then ends in an odd number of backslashes, the
 * last one joins the next line to this one at the next load.
 *
 * docs/round-trips.md has further cases: lines of 80 bytes or more, and an edited line before one
 * that begins with a CR or a backslash.
 *
 * If the new form of an existing line cannot be stored, the old line is gone, but ulLabel stays as
 * it was: unless something else was edited, a save then writes nothing and the file keeps the key.
 * If a new key line cannot be stored, the slot made for it stays empty. Oddity: if the header of a
 * new section cannot be stored, its key is added anyway, at the end of the document, and the status
 * is that of the key.
 *
 * @param[in,out] pStructIniLine  the document
 * @param[in]     section         the section's name, borrowed
 * @param[in]     key             the key's name, borrowed; null adds the section alone
 * @param[in]     buf             the value, borrowed; null is written like an empty value
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null document, pStrLine or section; a null key for a section
 *   that exists; a null key with a new section name of more than 507 bytes; key, value and comment
 *   of more than 508 bytes together
 * - #XELP_ERR_INI_FILE_EMPTY: the line has a comment, and key, value and comment have exactly 508
 *   bytes together: the line does not fit its buffer
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail
 */
WYX_API QAL_UINT32 XELP_IniSetKeyValue(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_INT8 *section,
                                       QAL_INT8 *key, QAL_INT8 *buf);

/**
 * @brief Deletes every block of a section: headers, keys, comments and blank lines.
 *
 * @param[in,out] pStructIniLine  the document; the slots of deleted lines stay, empty
 * @param[in]     section         the section's name, borrowed
 * @return
 * - #XELP_ERR_INI_OK: at least one block deleted
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or a null pStrLine
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail; malformed key lines do not count here. The
 *   section's lines before the one that failed are deleted
 */
WYX_API QAL_UINT32 XELP_IniDelSection(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                      const QAL_INT8 *section);

/**
 * @brief Deletes every line of a key in every block of a section.
 *
 * @param[in,out] pStructIniLine  the document; the slots of deleted lines stay, empty
 * @param[in]     section         the section's name, borrowed
 * @param[in]     key             the key's name, borrowed
 * @return
 * - #XELP_ERR_INI_OK: at least one line deleted
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or a null pStrLine
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND, #XELP_ERR_INI_KEY_NOT_FOUND
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - the status of a line that makes a lookup fail; the key's lines before that one are deleted
 */
WYX_API QAL_UINT32 XELP_IniDelKey(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                  const QAL_INT8 *section, const QAL_INT8 *key);

/** @} */
/** @name Building blocks: lines of a file
 * @{ */

/**
 * @brief Length of a string.
 *
 * @param[in] para  the string, borrowed, or null
 * @return its length in bytes as XELP_StrLen() counts it, in 32 bits; 0 for null.
 */
WYX_API QAL_UINT32 INI_StrLen(const QAL_INT8 *para);

/**
 * @brief Reads one line, with continuations joined.
 *
 * @param[out] linePtr     the line, handed over: release it with XELP_MemFreeD(). Null if there is
 *                         no memory; untouched on every other failure
 * @param[in]  iniFilePtr  a file open for reading; its position is after the line on success
 * @param[out] byteNum     the line's length in bytes, not counting a CR that was added; 0 on
 *                         failure
 * @param[out] lineNum     1, plus 1 for each line end that was removed, except a lone LF or CR at
 *                         the end of the file; 0 on failure
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_FILE_EMPTY: end of file, or a line of up to 511 bytes that begins with a NUL
 * - #XELP_ERR_INI_LINE_TOO_LONG: more than 511 bytes; the rest of the line was not read
 * - #XELP_ERR_INI_INTERNAL: no memory, or seeking back by a byte failed
 */
WYX_API QAL_UINT32 IniGetOneLine(QAL_INT8 **linePtr, XELP_S_File *iniFilePtr, QAL_UINT32 *byteNum,
                                 QAL_UINT32 *lineNum);

/** @} */
/** @name Building blocks: grammar of a line
 * Parts of a line are handed over, each in an allocation of its own: release them with
 * XELP_MemFreeD(). @{ */

/**
 * @brief Moves a pointer forward over blanks.
 *
 * @param[in,out] strLine  the pointer, not null
 * @param[in]     end      the pointer does not move beyond it
 */
WYX_API void IniSkimBeginSpace(QAL_INT8 **strLine, const QAL_INT8 *end);

/**
 * @brief Moves a pointer back over white bytes.
 *
 * @param[in,out] strLine  the pointer, not null; at the last byte of a text, not past it
 * @param[in]     begin    the pointer does not move back beyond it
 */
WYX_API void IniSkimEndSpaceAndEnd(QAL_INT8 **strLine, const QAL_INT8 *begin);

/**
 * @brief The kind of a line.
 *
 * @param[in]  linePtr   the line, borrowed
 * @param[out] lineType  its kind; untouched for a null or empty line
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: the line is null or empty
 * - #XELP_ERR_INI_LINE_UNKNOWN: the line is of no known kind, and lineType is #INI_ERROR_LINE
 */
WYX_API QAL_UINT32 IniGetLineType(QAL_INT8 *linePtr, XELP_INI_E_LINE_TYPE *lineType);

/**
 * @brief The comment after a header or value.
 *
 * @param[in]  linePtr      a line or the rest of one, borrowed, not null
 * @param[out] commentLine  what follows the first " ;"; the empty string if there are only blanks
 *                          between the " ;" and a line end or the end of the text; null on failure
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no " ;"
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseCommentLine(const QAL_INT8 *linePtr, QAL_INT8 **commentLine);

/**
 * @brief The parts of a section header.
 *
 * This call is lenient: the name is between the first `[` and the first `]` of the line, wherever
 * they are. Text between the `]` and a " ;" is ignored. Oddity: if the brackets enclose only white
 * bytes, with a CR or LF among them, the first CR or LF is the name.
 *
 * @param[in]  linePtr      the line, borrowed
 * @param[out] sectionLine  the name; null on failure
 * @param[out] commentLine  the comment; null if there is none, and on failure
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_SECTION: the line is null, lacks a `[` or `]`, has a `]` before the first `[`, or
 *   has nothing but blanks between the brackets
 * - #XELP_ERR_INI_LINE_UNKNOWN: text or a tab after the `]`, but no " ;" there
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseSectionLine(const QAL_INT8 *linePtr, QAL_INT8 **sectionLine,
                                       QAL_INT8 **commentLine);

/**
 * @brief The parts of a key line.
 *
 * Oddity: if only blanks come between the `=` and a `;` that is the last byte of the line, the `;`
 * is the value.
 *
 * @param[in]  linePtr      the line, borrowed, not null
 * @param[out] keyName      the key; null on failure
 * @param[out] keyValue     the value; null if there is none, and on failure
 * @param[out] commentLine  the comment; null if there is none, and on failure
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no `=`
 * - #XELP_ERR_INI_KEY_NAME: nothing but blanks before the `=`, or a key that begins with CR or LF
 * - #XELP_ERR_INI_VALUE_NULL: the adapter found the `=`, but not when asked again
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseKeyLine(QAL_INT8 *linePtr, QAL_INT8 **keyName, QAL_INT8 **keyValue,
                                   QAL_INT8 **commentLine);

/**
 * @brief Checks a section header strictly.
 *
 * The `[` must be the first byte of the line. The name must hold something other than blanks, and
 * must not hold a bracket. After the `]` only blanks, the line end and a comment are allowed, and
 * the comment must begin with " ;". Oddities: a name of blanks that ends in a tab passes, and so do
 * tabs between the `]` and the line end, though lookups refuse both. Without a line end, blanks
 * after the `]` fail if the last of them is a tab.
 *
 * @param[in] strSectionLine  the line, borrowed
 * @return #XELP_ERR_INI_OK, or #XELP_ERR_INI_SECTION if the line is null or fails the check.
 */
WYX_API QAL_UINT32 IniCheckSectionLine(const QAL_INT8 *strSectionLine);

/**
 * @brief Checks a key line strictly.
 *
 * The key must not be empty, begin with CR or LF, or hold a space; tabs inside it pass. The value
 * may be absent. If there is a value, it is a list of items:
 * - An item that begins with a quotation mark ends at the next quotation mark that has no backslash
 *   before it. The next item may follow it without a comma.
 * - Any other item ends at the next comma in the rest of the line, even at a comma in the comment.
 *   If there is no comma, the item ends at the next `;` or the end of the line. Quotation marks
 *   inside it are ordinary text.
 * - A comma must have an item before it and at least one blank after it. Something other than a
 *   comma or `;` must follow the blanks; a line end is enough.
 * - A `;` at the start of the value or at the end of an item must have a blank before it; unlike
 *   in a lookup, a tab will do. It begins the comment and ends the check.
 * - If an item consists of only the last byte of the line, it is not checked.
 *
 * @param[in] strKeyValue  the line, borrowed, not null
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no `=`
 * - #XELP_ERR_INI_KEY_NAME: no key before the `=`, a key that begins with CR or LF, or a space
 *   inside the key
 * - #XELP_ERR_INI_KEY_VALUE: a quoted item without its closing mark, or a misplaced comma
 * - #XELP_ERR_INI_COMMENT: a `;` without a blank before it
 */
WYX_API QAL_UINT32 IniCheckKeyLine(QAL_INT8 *strKeyValue);

/** @} */
/** @name Building blocks: the line store
 * These calls do not check the document: it must not be null and must have its array. @{ */

/**
 * @brief Makes room for 50 more lines.
 *
 * @param[in,out] pStructIniLine  the document, unchanged on failure
 * @return #XELP_ERR_INI_OK, or #XELP_ERR_INI_INTERNAL: no memory.
 */
WYX_API QAL_UINT32 IniRemallocIniLine(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/**
 * @brief Stores a copy of a line in a slot.
 *
 * @param[in,out] pStructIniLine  the document; ulLineNum stays as it is
 * @param[in]     ulLocation      the slot, below ulTotalLine; what it held is *not* released
 * @param[in]     strIniLine      the line with its line end, borrowed
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_FILE_EMPTY: the line is null or empty; nothing changed
 * - #XELP_ERR_INI_INTERNAL: no memory; the slot is null
 */
WYX_API QAL_UINT32 IniSaveStringToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                            QAL_UINT32 ulLocation, const QAL_INT8 *strIniLine);

/**
 * @brief Builds a section header, ending in LF, and stores it in a slot.
 *
 * @param[in,out] pStructIniLine  the document; ulLineNum stays as it is
 * @param[in]     i               the slot, as for IniSaveStringToIniStruct()
 * @param[in]     strSectionLine  the name, borrowed
 * @param[in]     strCommentLine  the comment, borrowed; null for none
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: the parts have more than 507 bytes together, or the name is null
 * - #XELP_ERR_INI_FILE_EMPTY: the parts have exactly 507 bytes together, and there is a comment
 * - #XELP_ERR_INI_INTERNAL: no memory; the slot is null
 */
WYX_API QAL_UINT32 IniSaveSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                             QAL_UINT32 i, QAL_INT8 *strSectionLine,
                                             QAL_INT8 *strCommentLine);

/**
 * @brief Builds a key line, ending in LF, and stores it in a slot.
 *
 * @param[in,out] pStructIniLine  the document; ulLineNum stays as it is
 * @param[in]     ulLocation      the slot, as for IniSaveStringToIniStruct()
 * @param[in]     strKeyName      the key, borrowed
 * @param[in]     strKeyValue     the value, borrowed; null for none
 * @param[in]     strCommentLine  the comment, borrowed; null for none
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: the parts have more than 508 bytes together, or the key is null
 * - #XELP_ERR_INI_FILE_EMPTY: the parts have exactly 508 bytes together, and there is a comment
 * - #XELP_ERR_INI_INTERNAL: no memory; the slot is null
 */
WYX_API QAL_UINT32 IniSaveKeyToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                         QAL_UINT32 ulLocation, QAL_INT8 *strKeyName,
                                         QAL_INT8 *strKeyValue, QAL_INT8 *strCommentLine);

/**
 * @brief Inserts a key line after a slot, or into the next slot if that is empty.
 *
 * @param[in,out] pStructIniLine  the document; if the line cannot be stored, the slot made for it
 *                                stays empty; unchanged if the document cannot grow
 * @param[in]     ulLoction       the slot, below ulLineNum; 0xFFFFFFFF inserts before the first
 *                                line
 * @param[in]     pKeyNameLine    the key, borrowed
 * @param[in]     buf             the value, borrowed; null for none
 * @param[in]     pCommentLine    the comment, borrowed; null for none
 * @return as for IniSaveKeyToIniStruct(), or #XELP_ERR_INI_INTERNAL if the document cannot grow.
 */
WYX_API QAL_UINT32 IniInsertKeyInIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                           QAL_UINT32 ulLoction, QAL_INT8 *pKeyNameLine,
                                           QAL_INT8 *buf, QAL_INT8 *pCommentLine);

/**
 * @brief Appends a section header.
 *
 * @param[in,out] pStructIniLine  the document; it has no new header after a failure
 * @param[in]     section         the section's name, borrowed
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: the name has more than 507 bytes or is null
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniInsertSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                               QAL_INT8 *section);

/**
 * @brief Writes a line to a file, folded if it has 80 bytes or more.
 *
 * @param[in] pTmpFilePtr  a file open for writing
 * @param[in] strIniLine   the line, borrowed; null writes nothing
 * @return #XELP_ERR_INI_OK, or #XELP_ERR_INI_WRITE_FILE: not everything could be written. Of a line
 *         of 4 GiB or more, nothing is written.
 */
WYX_API QAL_UINT32 IniSaveStringToIniFile(XELP_S_File *pTmpFilePtr, QAL_INT8 *strIniLine);

/** @} */

WYX_C_END

#endif
