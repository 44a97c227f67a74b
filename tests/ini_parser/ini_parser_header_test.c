/* Checks the header in plain C99, included twice: layouts, enumerators, and prototypes. */
#include "wyx_commlib/ini_parser.h"

#include <stddef.h>

#include "header_check.h"

/* a second time */
#include "wyx_commlib/ini_parser.h"

WYX_CHECK(sizeof(XELP_IN_S_INI_FILE_STRUCT) == 24);
WYX_CHECK(sizeof(struct XelpIniFileStruct) == sizeof(XELP_IN_S_INI_FILE_STRUCT));
WYX_CHECK(offsetof(XELP_IN_S_INI_FILE_STRUCT, ulLabel) == 0);
WYX_CHECK(offsetof(XELP_IN_S_INI_FILE_STRUCT, ulLineNum) == 4);
WYX_CHECK(offsetof(XELP_IN_S_INI_FILE_STRUCT, ulTotalLine) == 8);
WYX_CHECK(offsetof(XELP_IN_S_INI_FILE_STRUCT, ulIniFileNum) == 12);
WYX_CHECK(offsetof(XELP_IN_S_INI_FILE_STRUCT, pStrLine) == 16);
WYX_CHECK(sizeof(((XELP_IN_S_INI_FILE_STRUCT *)0)->ulLabel) == 4);
WYX_CHECK(sizeof(((XELP_IN_S_INI_FILE_STRUCT *)0)->pStrLine) == 8);

WYX_CHECK(sizeof(xelpIniErrCode) == 4);
WYX_CHECK(sizeof(enum xelpIniErrCode) == sizeof(xelpIniErrCode));
WYX_CHECK(XELP_ERR_INI_OK == 0);
WYX_CHECK(XELP_ERR_INI_SECTION_NOT_FOUND == 10);
WYX_CHECK(XELP_ERR_INI_KEY_NOT_FOUND == 20);
WYX_CHECK(XELP_ERR_INI_OPEN_FILE == 30);
WYX_CHECK(XELP_ERR_INI_READ_FILE == 40);
WYX_CHECK(XELP_ERR_INI_CREATE_FILE == 50);
WYX_CHECK(XELP_ERR_INI_FILE_FORMAT == 60);
WYX_CHECK(XELP_ERR_INI_FILE_EMPTY == 130);
WYX_CHECK(XELP_ERR_INI_WRITE_FILE == 180);
WYX_CHECK(XELP_ERR_INI_SYSTEM_CALL == 70);
WYX_CHECK(XELP_ERR_INI_INTERNAL == 80);
WYX_CHECK(XELP_ERR_INI_EXCEED_BUF_SIZE == 90);
WYX_CHECK(XELP_ERR_INI_VALUE_NULL == 100);
WYX_CHECK(XELP_ERR_INI_SECTION == 110);
WYX_CHECK(XELP_ERR_INI_KEY_NAME == 120);
WYX_CHECK(XELP_ERR_INI_KEY_VALUE == 180);
WYX_CHECK(XELP_ERR_INI_COMMENT == 190);
WYX_CHECK(XELP_ERR_INI_LINE_TOO_LONG == 140);
WYX_CHECK(XELP_ERR_INI_VALUE_INVALID == 150);
WYX_CHECK(XELP_ERR_INI_LINE_UNKNOWN == 160);
WYX_CHECK(XELP_ERR_INI_INPUT_PARA_ERR == 170);

WYX_CHECK(sizeof(XELP_INI_E_LINE_TYPE) == 4);
WYX_CHECK(INI_COMENT_LINE == 0);
WYX_CHECK(INI_BLANK_LINE == 1);
WYX_CHECK(INI_SECTION_LINE == 2);
WYX_CHECK(INI_KEYVALUE_LINE == 3);
WYX_CHECK(INI_INVALID_LINE == 4);
WYX_CHECK(INI_ERROR_LINE == 5);
WYX_CHECK(INI_LINE_BUTT == 255);

typedef XELP_IN_S_INI_FILE_STRUCT Doc;

/* Every call with the arguments that it must take. With another prototype this does not compile. */
static const struct {
    QAL_UINT32 (*pfunLoad)(const QAL_INT8 *, Doc *);
    void (*pfunFree)(Doc *);
    QAL_UINT32 (*pfunCheck)(const Doc *, QAL_UINT32 *);
    QAL_UINT32 (*pfunSave)(const QAL_INT8 *, Doc *);
    QAL_UINT32 (*pfunValue)(const Doc *, const QAL_INT8 *, const QAL_INT8 *, QAL_INT8 **);
    QAL_UINT32 (*pfunSections)(const Doc *, QAL_UINT32 *, QAL_INT8 ***);
    QAL_UINT32 (*pfunKeys)(const Doc *, const QAL_INT8 *, QAL_UINT32 *, QAL_INT8 ***);
    void (*pfunFreeList)(QAL_INT8 **);
    QAL_UINT32 (*pfunSet)(Doc *, QAL_INT8 *, QAL_INT8 *, QAL_INT8 *);
    QAL_UINT32 (*pfunDelSection)(Doc *, const QAL_INT8 *);
    QAL_UINT32 (*pfunDelKey)(Doc *, const QAL_INT8 *, const QAL_INT8 *);
    QAL_UINT32 (*pfunStrLen)(const QAL_INT8 *);
    QAL_UINT32 (*pfunOneLine)(QAL_INT8 **, XELP_S_File *, QAL_UINT32 *, QAL_UINT32 *);
    void (*pfunSkimBegin)(QAL_INT8 **, const QAL_INT8 *);
    void (*pfunSkimEnd)(QAL_INT8 **, const QAL_INT8 *);
    QAL_UINT32 (*pfunType)(QAL_INT8 *, XELP_INI_E_LINE_TYPE *);
    QAL_UINT32 (*pfunComment)(const QAL_INT8 *, QAL_INT8 **);
    QAL_UINT32 (*pfunSection)(const QAL_INT8 *, QAL_INT8 **, QAL_INT8 **);
    QAL_UINT32 (*pfunKey)(QAL_INT8 *, QAL_INT8 **, QAL_INT8 **, QAL_INT8 **);
    QAL_UINT32 (*pfunCheckSection)(const QAL_INT8 *);
    QAL_UINT32 (*pfunCheckKey)(QAL_INT8 *);
    QAL_UINT32 (*pfunGrow)(Doc *);
    QAL_UINT32 (*pfunStore)(Doc *, QAL_UINT32, const QAL_INT8 *);
    QAL_UINT32 (*pfunStoreSection)(Doc *, QAL_UINT32, QAL_INT8 *, QAL_INT8 *);
    QAL_UINT32 (*pfunStoreKey)(Doc *, QAL_UINT32, QAL_INT8 *, QAL_INT8 *, QAL_INT8 *);
    QAL_UINT32 (*pfunInsertKey)(Doc *, QAL_UINT32, QAL_INT8 *, QAL_INT8 *, QAL_INT8 *);
    QAL_UINT32 (*pfunInsertSection)(Doc *, QAL_INT8 *);
    QAL_UINT32 (*pfunWrite)(XELP_S_File *, QAL_INT8 *);
} struCalls = {XELP_IniGetFileContent,  XELP_IniFreeIniStruct,    XELP_IniCheckFile,
               XELP_IniSaveFileContent, XELP_IniGetKeyValue,      XELP_IniGetSectionList,
               XELP_IniGetKeyList,      XELP_IniFreeList,         XELP_IniSetKeyValue,
               XELP_IniDelSection,      XELP_IniDelKey,           INI_StrLen,
               IniGetOneLine,           IniSkimBeginSpace,        IniSkimEndSpaceAndEnd,
               IniGetLineType,          IniParseCommentLine,      IniParseSectionLine,
               IniParseKeyLine,         IniCheckSectionLine,      IniCheckKeyLine,
               IniRemallocIniLine,      IniSaveStringToIniStruct, IniSaveSectionToIniStruct,
               IniSaveKeyToIniStruct,   IniInsertKeyInIniStruct,  IniInsertSectionToIniStruct,
               IniSaveStringToIniFile};

int main(void)
{
    Doc struDoc = {1, 1, 1, 1, NULL};
    QAL_UINT32 ulLineNo = 7;
    QAL_INT8 acLine[] = " [a]\n";
    XELP_INI_E_LINE_TYPE enType = INI_LINE_BUTT;

    return struCalls.pfunLoad(NULL, &struDoc) != XELP_ERR_INI_INPUT_PARA_ERR ||
           struCalls.pfunCheck(&struDoc, &ulLineNo) != XELP_ERR_INI_INPUT_PARA_ERR ||
           ulLineNo != 7 || struCalls.pfunType(acLine, &enType) != XELP_ERR_INI_OK ||
           enType != INI_SECTION_LINE || struCalls.pfunStrLen(acLine) != 5 ||
           struCalls.pfunCheckSection(acLine) != XELP_ERR_INI_SECTION ||
           struCalls.pfunCheckSection(acLine + 1) != XELP_ERR_INI_OK;
}
