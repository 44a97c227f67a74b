/**
 * @file ini_parser.h
 * @brief INI files: load, check, look up, edit and save, keeping every line as it was.
 *
 * A file is held as an array of its lines, byte for byte. Nothing is parsed on loading: every call
 * reads the lines it needs afresh, and what no edit touched is saved as it was loaded. The usual
 * road:
 * @code{.c}
 * XELP_IN_S_INI_FILE_STRUCT doc;
 * char *value = NULL;
 * if (XELP_IniGetFileContent("net.ini", &doc) == XELP_ERR_INI_OK) {
 *     if (XELP_IniGetKeyValue(&doc, "net", "port", &value) == XELP_ERR_INI_OK) {
 *         ... // value may be null: a key line can have none
 *         XELP_MemFreeD(value, __LINE__, __FILE__);
 *     }
 *     XELP_IniSetKeyValue(&doc, section, key, newValue);
 *     status = XELP_IniSaveFileContent("net.ini", &doc); // releases the document, whatever happens
 * }
 * @endcode
 * Every load ends with exactly one XELP_IniFreeIniStruct() or XELP_IniSaveFileContent().
 *
 * ## The file
 * - A line ends at CR LF, LF CR, a lone LF or a lone CR, which stay part of it. A last line without
 *   an end gets one CR.
 * - A backslash before a line end joins the next line to this one; both are removed. Before any
 *   other byte a backslash is kept, at the end of the file it is dropped. Kept oddity: after a lone
 *   LF or CR, a line that *begins* with a backslash is joined to the line before it, whose end stays
 *   inside the text.
 * - A line may hold 511 bytes, line end included; a longer one fails the load.
 * - A NUL byte cuts its line; as the first byte of a line it ends the file.
 * - A byte-order mark is not recognised: it belongs to the first line.
 *
 * ## The lines
 * Blanks are tab and space; white bytes are blanks, CR and LF. The first byte that is not a blank
 * decides:
 *
 * | line                            | first byte    | parts                                         |
 * |---------------------------------|---------------|-----------------------------------------------|
 * | `; timeouts`                    | `;` or `#`    | a comment, skipped                            |
 * | (nothing but blanks)            | CR, LF, none  | blank, skipped                                |
 * | `[ Net ] ;main`                 | `[`           | section `Net`, comment `main`                 |
 * | `port = 5060 ;sip`              | any other     | key `port`, value `5060`, comment `sip`       |
 * | `port= ;none`                   | any other     | key `port`, no value, comment `none`          |
 * | `list="a ;b", c ;x`             | any other     | key `list`, value `"a ;b", c`, comment `x`    |
 *
 * - A line that is none of these, having no `=`, fails every call that walks over it with
 *   #XELP_ERR_INI_LINE_UNKNOWN.
 * - Behind a header or a value, a comment begins at a space followed by `;` (a tab will not do). In a
 *   value, a " ;" with an unescaped quotation mark anywhere after it is text.
 * - Names are compared without regard to the case of ASCII letters.
 * - Kept oddity: the value of a key line that ends right behind its `=` is the first byte of the line
 *   end, CR or LF.
 * - A section name that occurs more than once: lookups and XELP_IniSetKeyValue() see the last block
 *   only, deletions act on all of them. A key that occurs more than once in a block: the lowest line
 *   counts.
 *
 * ## Threads
 * Any number of threads may look up values in one document that none of them changes; everything
 * else is one thread per document.
 */
#ifndef WYX_COMMLIB_INI_PARSER_H
#define WYX_COMMLIB_INI_PARSER_H

#include "wyx_commlib/types.h"

WYX_C_BEGIN

/**
 * Statuses of the INI calls. The values are ABI: never renumbered, never reused. They stand in the
 * order in which they came about, which is not that of their numbers; there is no end marker.
 */
typedef enum xelpIniErrCode WYX_ENUM32 {
    XELP_ERR_INI_OK = 0,                 /**< success */
    XELP_ERR_INI_SECTION_NOT_FOUND = 10, /**< no section of that name */
    XELP_ERR_INI_KEY_NOT_FOUND = 20,     /**< no key of that name in the section */
    XELP_ERR_INI_OPEN_FILE = 30,         /**< the file cannot be opened for reading */
    XELP_ERR_INI_READ_FILE = 40,         /**< never returned: a line that is not complete yet */
    XELP_ERR_INI_CREATE_FILE = 50,       /**< the saved file cannot be created or put in place */
    XELP_ERR_INI_FILE_FORMAT = 60,       /**< a key line before the first section header */
    XELP_ERR_INI_FILE_EMPTY = 130,       /**< nothing there: end of file, document without lines,
                                              empty text or file name */
    XELP_ERR_INI_WRITE_FILE = 180,       /**< the file cannot be written */
    XELP_ERR_INI_SYSTEM_CALL = 70,       /**< never returned */
    XELP_ERR_INI_INTERNAL = 80,          /**< no memory, or a byte could not be given back to the
                                              file */
    XELP_ERR_INI_EXCEED_BUF_SIZE = 90,   /**< never returned */
    XELP_ERR_INI_VALUE_NULL = 100,       /**< a key line lost its `=` while it was parsed; cannot
                                              happen with a sound adapter */
    XELP_ERR_INI_SECTION = 110,          /**< malformed section header */
    XELP_ERR_INI_KEY_NAME = 120,         /**< malformed or empty key name */
    XELP_ERR_INI_KEY_VALUE = 180,        /**< malformed value; the same number as
                                              #XELP_ERR_INI_WRITE_FILE, which is intended */
    XELP_ERR_INI_COMMENT = 190,          /**< a `;` without a blank before it */
    XELP_ERR_INI_LINE_TOO_LONG = 140,    /**< a line of more than 511 bytes */
    XELP_ERR_INI_VALUE_INVALID = 150,    /**< never returned */
    XELP_ERR_INI_LINE_UNKNOWN = 160,     /**< a line of no known kind, or no comment where one must
                                              be */
    XELP_ERR_INI_INPUT_PARA_ERR = 170    /**< a null argument, a line that is an empty string, or
                                              names too long for one line */
} xelpIniErrCode;

/** Kinds of a stored line. */
typedef enum WYX_ENUM32 {
    INI_COMENT_LINE = 0,   /**< comment (the single M is the name's) */
    INI_BLANK_LINE = 1,    /**< nothing but blanks before the line end */
    INI_SECTION_LINE = 2,  /**< section header */
    INI_KEYVALUE_LINE = 3, /**< key line */
    INI_INVALID_LINE = 4,  /**< nothing but blanks and no line end */
    INI_ERROR_LINE = 5,    /**< none of these */
    INI_LINE_BUTT = 255    /**< end marker */
} XELP_INI_E_LINE_TYPE;

/**
 * A document. The record is the caller's, what it points to is the module's; a record of zero bytes
 * is one that holds nothing.
 */
typedef struct XelpIniFileStruct {
    QAL_UINT32 ulLabel;      /**< 1 after a change; only then a save writes */
    QAL_UINT32 ulLineNum;    /**< slots in use, those of removed lines included */
    QAL_UINT32 ulTotalLine;  /**< slots there are */
    QAL_UINT32 ulIniFileNum; /**< physical lines read, less one for each line deleted since */
    QAL_INT8 **pStrLine;     /**< the slots: each a line of its own block, or null where one was
                                  removed; null, too, from ulLineNum on */
} XELP_IN_S_INI_FILE_STRUCT;

/** @name Documents
 * @{ */

/**
 * @brief Loads a file.
 *
 * @param[in]  filename        the file's name, borrowed
 * @param[out] pStructIniLine  the document. What it held is overwritten, *not* released. All zero
 *                             after a failure, but untouched for a null argument. On success it is
 *                             handed over: release it with XELP_IniFreeIniStruct() or
 *                             XELP_IniSaveFileContent().
 * @return
 * - #XELP_ERR_INI_OK: loaded; an empty file gives a document without lines
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument
 * - #XELP_ERR_INI_OPEN_FILE: the file cannot be opened
 * - #XELP_ERR_INI_LINE_TOO_LONG: a line, continuations joined, of more than 511 bytes
 * - #XELP_ERR_INI_INTERNAL: no memory, or the file cannot step back by a byte
 */
WYX_API QAL_UINT32 XELP_IniGetFileContent(const QAL_INT8 *filename,
                                          XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/**
 * @brief Releases a document and zeroes its record, which can then be loaded into again.
 *
 * @param[in,out] pStructIniLine  the document, not null; one that holds nothing is fine
 */
WYX_API void XELP_IniFreeIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/**
 * @brief Checks a whole document against the strict form of the grammar.
 *
 * Lookups and edits are more lenient than this check, on purpose: a document that fails it can still
 * be used. Stricter here: a header starts with the first byte of its line and holds no further
 * bracket; no key line stands before the first header; a key holds no space; items of a value are
 * separated by a comma and a blank, and their quotation marks are closed; a `;` outside quotation
 * marks needs a blank (here a tab will do) before it. Kept oddities: a comma in a comment counts as
 * one of an unquoted value; a header that names a single tab passes though the lookups refuse it.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[out] pulLineNo       number of the slot, from 1, that the check reached: on failure that of
 *                             the offending line, on success the number of slots. Slots of removed
 *                             lines count and joined lines count once, so it is not a line number of
 *                             the file. Untouched for a null argument or an empty document.
 * @return
 * - #XELP_ERR_INI_OK: well formed
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array, or a line that is an empty string
 * - #XELP_ERR_INI_FILE_EMPTY: no lines, or only slots of removed lines
 * - #XELP_ERR_INI_LINE_UNKNOWN: a line of no known kind
 * - #XELP_ERR_INI_FILE_FORMAT: a key line before the first header
 * - a status of IniCheckSectionLine() or IniCheckKeyLine()
 */
WYX_API QAL_UINT32 XELP_IniCheckFile(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                     QAL_UINT32 *pulLineNo);

/**
 * @brief Writes a changed document to its file, and releases it whatever happens.
 *
 * The lines go to a new file beside the target (its name up to the last dot, the time in
 * milliseconds, ".ibk"); then the target is removed and the new file takes its name. That is not
 * atomic: after a crash in between, the content is in the ".ibk" file alone. A line of 80 bytes or
 * more is folded by backslash and LF into pieces of 78 or 79 bytes, which a load joins again; where
 * a piece ends in a backslash or begins at a line break inside the line, it comes back changed.
 *
 * A target that does not exist is not created: the removal fails, and the content stays in the
 * ".ibk" file. The name leaves room for 10 digits where there is no dot to cut at, so with today's
 * 13 a target without a dot anywhere in its path fails, and so does one of fewer than two letters
 * behind its dot; one whose only dot is in a directory's name gets its new file beside that
 * directory.
 *
 * @param[in]     filename        the target's name, borrowed
 * @param[in,out] pStructIniLine  the document, not null; taken: its record is zeroed
 * @return
 * - #XELP_ERR_INI_OK: written and in place; or unchanged since it was loaded, and nothing written
 * - #XELP_ERR_INI_FILE_EMPTY: the name is null or empty
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - #XELP_ERR_INI_WRITE_FILE: the new file exists already, and is left alone; or it could not be
 *   written whole, and was removed. The target is as it was.
 * - #XELP_ERR_INI_CREATE_FILE: the new file cannot be created, and the target is as it was; or the
 *   target cannot be removed, or the new file not renamed, and the new file stays with the whole
 *   content. Where the adapter tells a write that failed at closing by a removal that fails, as the
 *   default one does, the target is as it was and the new file may be cut off.
 */
WYX_API QAL_UINT32 XELP_IniSaveFileContent(const QAL_INT8 *filename,
                                           XELP_IN_S_INI_FILE_STRUCT *pStructIniLine);

/** @} */
/** @name Lookups
 * They never change the document. Each walks its lines, once or twice, and any line of no known kind
 * on its way, or malformed header or key line that it has to read, ends it with that line's status:
 * #XELP_ERR_INI_LINE_UNKNOWN, #XELP_ERR_INI_INPUT_PARA_ERR (a line that is an empty string), or one
 * of IniParseSectionLine() or IniParseKeyLine(). @{ */

/**
 * @brief The value of a key.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[in]  section         the section's name, borrowed; its last block counts
 * @param[in]  key             the key's name, borrowed; its lowest line counts
 * @param[out] buf             the value, handed over: release it with XELP_MemFreeD(); null if the
 *                             key has none or the search fails; untouched for a refused argument or
 *                             an empty document
 * @return
 * - #XELP_ERR_INI_OK: found, with or without a value
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND, #XELP_ERR_INI_KEY_NOT_FOUND
 * - a status of a line on the way, see above
 */
WYX_API QAL_UINT32 XELP_IniGetKeyValue(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                       const QAL_INT8 *section, const QAL_INT8 *key,
                                       QAL_INT8 **buf);

/**
 * @brief The names of all sections, in the document's order, repeated ones included.
 *
 * @param[in]  pStructIniLine  the document, borrowed
 * @param[out] sectionNum      number of names; after a failure, how many had been found
 * @param[out] sectionList     the names with a null pointer after the last, handed over: release it
 *                             with XELP_IniFreeList(). After a failure it may hold the address of a
 *                             list that is released already: neither use nor release it.
 *                             Both are untouched for a refused argument or an empty document.
 * @return
 * - #XELP_ERR_INI_OK: at least one section
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND: it has no section
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - a status of a line on the way, see above
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
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND; #XELP_ERR_INI_KEY_NOT_FOUND: the block has no key
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - a status of a line on the way, see above
 */
WYX_API QAL_UINT32 XELP_IniGetKeyList(const XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                      const QAL_INT8 *section, QAL_UINT32 *keyNum,
                                      QAL_INT8 ***keyList);

/**
 * @brief Releases a list of names.
 *
 * @param[in] strList  the list, taken, with its names up to the first null pointer; null does
 *                     nothing
 */
WYX_API void XELP_IniFreeList(QAL_INT8 **strList);

/** @} */
/** @name Edits
 * They change the document in memory and set its ulLabel to 1. There is no rollback: what was done
 * before a failure stays done. Lines on the way fail them as they fail lookups. Arguments may point
 * into the document's own lines. @{ */

/**
 * @brief Sets the value of a key, adding the key and its section where they are missing.
 *
 * An existing key line, the lowest in the section's last block, is rewritten as `key=value ;comment`
 * with its key as spelled in the file and its comment. A new key goes behind the last line of the
 * block, a new section to the end of the document. Written as given: names and values that hold
 * `=`, ` ;`, `]` or line ends are not refused and will read back as something else.
 *
 * @param[in,out] pStructIniLine  the document
 * @param[in]     section         the section's name, borrowed
 * @param[in]     key             the key's name, borrowed; null adds the section alone
 * @param[in]     buf             the value, borrowed; null for none
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null document, array or section; a null key for a section that
 *   exists; key, value and comment of more than 508 bytes together
 * - #XELP_ERR_INI_FILE_EMPTY: 508 bytes together, with a comment, which leaves no room to end the
 *   line
 * - #XELP_ERR_INI_INTERNAL: no memory
 * - a status of a line on the way, see above
 *
 * When an existing line cannot be rewritten, the old one is gone all the same. When a new key line
 * cannot be stored, the slot made for it stays behind, empty. Kept oddity: when the header of a new
 * section cannot be stored, its key is added all the same, at the end of the document, and the
 * status is the key's.
 */
WYX_API QAL_UINT32 XELP_IniSetKeyValue(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_INT8 *section,
                                       QAL_INT8 *key, QAL_INT8 *buf);

/**
 * @brief Deletes every block of a section: headers, keys, comments and blank lines.
 *
 * @param[in,out] pStructIniLine  the document; slots of deleted lines stay, empty
 * @param[in]     section         the section's name, borrowed
 * @return
 * - #XELP_ERR_INI_OK: at least one block deleted
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND
 * - a status of a line on the way, see above; what stood before that line is deleted
 */
WYX_API QAL_UINT32 XELP_IniDelSection(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                      const QAL_INT8 *section);

/**
 * @brief Deletes every line of a key in every block of a section.
 *
 * @param[in,out] pStructIniLine  the document; slots of deleted lines stay, empty
 * @param[in]     section         the section's name, borrowed
 * @param[in]     key             the key's name, borrowed
 * @return
 * - #XELP_ERR_INI_OK: at least one line deleted
 * - #XELP_ERR_INI_INPUT_PARA_ERR: a null argument or array
 * - #XELP_ERR_INI_FILE_EMPTY: the document has no lines
 * - #XELP_ERR_INI_SECTION_NOT_FOUND, #XELP_ERR_INI_KEY_NOT_FOUND
 * - a status of a line on the way, see above; what stood before that line is deleted
 */
WYX_API QAL_UINT32 XELP_IniDelKey(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, const QAL_INT8 *section,
                                  const QAL_INT8 *key);

/** @} */
/** @name Building blocks: lines of a file
 * @{ */

/**
 * @brief Length of a string.
 *
 * @param[in] para  the string, borrowed, or null
 * @return its length in bytes; 0 for null.
 */
WYX_API QAL_UINT32 INI_StrLen(const QAL_INT8 *para);

/**
 * @brief Reads one line, with continuations joined.
 *
 * @param[out] linePtr     the line, handed over: release it with XELP_MemFreeD(). Null if there is no
 *                         memory; untouched on every other failure.
 * @param[in]  iniFilePtr  a file open for reading; it stands behind the line afterwards
 * @param[out] byteNum     length in bytes, without a CR that was added; 0 on failure
 * @param[out] lineNum     number of physical lines it was joined from; 0 on failure
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_FILE_EMPTY: end of file, or a line that begins with a NUL
 * - #XELP_ERR_INI_LINE_TOO_LONG: more than 511 bytes; the rest of the line was not read
 * - #XELP_ERR_INI_INTERNAL: no memory, or the file cannot step back by a byte
 */
WYX_API QAL_UINT32 IniGetOneLine(QAL_INT8 **linePtr, XELP_S_File *iniFilePtr, QAL_UINT32 *byteNum,
                                 QAL_UINT32 *lineNum);

/** @} */
/** @name Building blocks: grammar of a line
 * Parts of a line are handed over, each a string of its own: release it with XELP_MemFreeD(). A part
 * that is absent is null, and so is every part after a failure. @{ */

/**
 * @brief Moves a pointer forward over blanks.
 *
 * @param[in,out] strLine  the pointer, not null
 * @param[in]     end      where it stops at the latest
 */
WYX_API void IniSkimBeginSpace(QAL_INT8 **strLine, const QAL_INT8 *end);

/**
 * @brief Moves a pointer back over white bytes.
 *
 * @param[in,out] strLine  the pointer, not null; at the last byte of a text, not behind it
 * @param[in]     begin    where it stops at the latest
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
 * - #XELP_ERR_INI_LINE_UNKNOWN: it is of no known kind; the kind is #INI_ERROR_LINE
 */
WYX_API QAL_UINT32 IniGetLineType(QAL_INT8 *linePtr, XELP_INI_E_LINE_TYPE *lineType);

/**
 * @brief The comment behind a header or value.
 *
 * @param[in]  linePtr      a line or the rest of one, borrowed, not null
 * @param[out] commentLine  what follows the first " ;", blanks before and white bytes behind it
 *                          removed; may be the empty string
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no " ;"
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseCommentLine(const QAL_INT8 *linePtr, QAL_INT8 **commentLine);

/**
 * @brief The parts of a section header.
 *
 * Lenient: the brackets may stand anywhere, and text between the `]` and a " ;" is ignored.
 *
 * @param[in]  linePtr      the line, borrowed
 * @param[out] sectionLine  the name
 * @param[out] commentLine  the comment, null if there is none
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_SECTION: null, shorter than 3 bytes, without a bracket, or with an empty name
 * - #XELP_ERR_INI_LINE_UNKNOWN: text behind the header without a " ;"
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseSectionLine(const QAL_INT8 *linePtr, QAL_INT8 **sectionLine,
                                       QAL_INT8 **commentLine);

/**
 * @brief The parts of a key line.
 *
 * @param[in]  linePtr      the line, borrowed, not null
 * @param[out] keyName      the key
 * @param[out] keyValue     the value, null if there is none
 * @param[out] commentLine  the comment, null if there is none
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no `=`
 * - #XELP_ERR_INI_KEY_NAME: nothing before the `=`
 * - #XELP_ERR_INI_VALUE_NULL: the `=` was gone when it was looked for again
 * - #XELP_ERR_INI_INTERNAL: no memory
 */
WYX_API QAL_UINT32 IniParseKeyLine(QAL_INT8 *linePtr, QAL_INT8 **keyName, QAL_INT8 **keyValue,
                                   QAL_INT8 **commentLine);

/**
 * @brief Checks a section header strictly; see XELP_IniCheckFile().
 *
 * @param[in] strSectionLine  the line, borrowed
 * @return #XELP_ERR_INI_OK or #XELP_ERR_INI_SECTION, that also for null.
 */
WYX_API QAL_UINT32 IniCheckSectionLine(const QAL_INT8 *strSectionLine);

/**
 * @brief Checks a key line strictly; see XELP_IniCheckFile().
 *
 * @param[in] strKeyValue  the line, borrowed, not null
 * @return
 * - #XELP_ERR_INI_OK
 * - #XELP_ERR_INI_LINE_UNKNOWN: there is no `=`
 * - #XELP_ERR_INI_KEY_NAME: nothing before the `=`, or a space inside the key
 * - #XELP_ERR_INI_KEY_VALUE: a quotation mark that is not closed, or a separator that does not stand
 *   behind an item, before a blank and before a further item
 * - #XELP_ERR_INI_COMMENT: a `;` without a blank before it
 */
WYX_API QAL_UINT32 IniCheckKeyLine(QAL_INT8 *strKeyValue);

/** @} */
/** @name Building blocks: the line store
 * They do not check the document, which is not null and has its array. @{ */

/**
 * @brief Makes room for 50 further lines.
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
 * - #XELP_ERR_INI_INPUT_PARA_ERR: more than 507 bytes together, or the name is null
 * - #XELP_ERR_INI_FILE_EMPTY: 507 bytes together, with a comment
 * - #XELP_ERR_INI_INTERNAL: no memory; the slot is null
 */
WYX_API QAL_UINT32 IniSaveSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine, QAL_UINT32 i,
                                             QAL_INT8 *strSectionLine, QAL_INT8 *strCommentLine);

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
 * - #XELP_ERR_INI_INPUT_PARA_ERR: more than 508 bytes together, or the key is null
 * - #XELP_ERR_INI_FILE_EMPTY: 508 bytes together, with a comment
 * - #XELP_ERR_INI_INTERNAL: no memory; the slot is null
 */
WYX_API QAL_UINT32 IniSaveKeyToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                         QAL_UINT32 ulLocation, QAL_INT8 *strKeyName,
                                         QAL_INT8 *strKeyValue, QAL_INT8 *strCommentLine);

/**
 * @brief Inserts a key line behind a slot, in a removed line's slot if one follows.
 *
 * @param[in,out] pStructIniLine  the document; on a failure other than of growing it, the slot made
 *                                for the line stays behind, empty
 * @param[in]     ulLoction       the slot; 0xFFFFFFFF, the one before the first, for a document
 *                                without lines
 * @param[in]     pKeyNameLine    the key, borrowed
 * @param[in]     buf             the value, borrowed; null for none
 * @param[in]     pCommentLine    the comment, borrowed; null for none
 * @return as IniSaveKeyToIniStruct(), or #XELP_ERR_INI_INTERNAL if the document cannot grow.
 */
WYX_API QAL_UINT32 IniInsertKeyInIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                           QAL_UINT32 ulLoction, QAL_INT8 *pKeyNameLine,
                                           QAL_INT8 *buf, QAL_INT8 *pCommentLine);

/**
 * @brief Appends a section header.
 *
 * @param[in,out] pStructIniLine  the document; without the header on failure
 * @param[in]     section         the section's name, borrowed
 * @return as IniSaveSectionToIniStruct(), or #XELP_ERR_INI_INTERNAL if the document cannot grow.
 */
WYX_API QAL_UINT32 IniInsertSectionToIniStruct(XELP_IN_S_INI_FILE_STRUCT *pStructIniLine,
                                               QAL_INT8 *section);

/**
 * @brief Writes a line to a file, folded where it is 80 bytes or longer.
 *
 * @param[in] pTmpFilePtr  a file open for writing
 * @param[in] strIniLine   the line, borrowed; null writes nothing
 * @return #XELP_ERR_INI_OK, or #XELP_ERR_INI_WRITE_FILE: not everything could be written.
 */
WYX_API QAL_UINT32 IniSaveStringToIniFile(XELP_S_File *pTmpFilePtr, QAL_INT8 *strIniLine);

/** @} */

WYX_C_END

#endif
