/*
 * The native half of IniFile.java. Texts come as UTF-8 bytes with a terminator. A status other than
 * success becomes an IniException with its text. Only the document outlives a call: no reference
 * and no other block does.
 */
#include "wyx_commlib_IniFile.h" /* made by javac -h: the compiler sees that both halves agree */

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "os_adapter.h"
#include "wyx_commlib/ini_parser.h"
#include "wyx_commlib/status_text.h"

typedef XELP_IN_S_INI_FILE_STRUCT Document;

static void Throw(JNIEnv *pEnv, QAL_UINT32 ulStatus)
{
    const jclass type = (*pEnv)->FindClass(pEnv, "wyx/commlib/IniException");
    jmethodID make = NULL;
    jstring text = NULL;
    jobject exception = NULL;
    if (type != NULL) {
        make = (*pEnv)->GetMethodID(pEnv, type, "<init>", "(ILjava/lang/String;)V");
    }
    if (make != NULL) {
        text = (*pEnv)->NewStringUTF(pEnv, wyx_ini_status_text(ulStatus)); /* ASCII */
    }
    if (text != NULL) {
        exception = (*pEnv)->NewObject(pEnv, type, make, (jint)ulStatus, text);
    }
    if (exception != NULL) {
        (*pEnv)->Throw(pEnv, (jthrowable)exception);
    } /* otherwise Java has thrown an exception of its own */
}

/* The bytes of an array, to be released with PutText(); null for null. False if Java has thrown. */
static int GetText(JNIEnv *pEnv, jbyteArray bytes, char **ppszText)
{
    *ppszText = NULL;
    if (bytes != NULL) {
        *ppszText = (char *)(*pEnv)->GetByteArrayElements(pEnv, bytes, NULL);
    }
    return bytes == NULL || *ppszText != NULL;
}

static void PutText(JNIEnv *pEnv, jbyteArray bytes, char *pszText)
{
    if (pszText != NULL) {
        (*pEnv)->ReleaseByteArrayElements(pEnv, bytes, (jbyte *)pszText, JNI_ABORT);
    }
}

JNIEXPORT jlong JNICALL Java_wyx_commlib_IniFile_load(JNIEnv *pEnv, jclass type,
                                                      jbyteArray fileName)
{
    Document *const document = (Document *)malloc(sizeof *document);
    QAL_UINT32 status;
    char *name;
    (void)type;
    if (document == NULL) {
        Throw(pEnv, XELP_ERR_INI_INTERNAL); /* no memory */
        return 0;
    }
    if (!GetText(pEnv, fileName, &name)) {
        free(document);
        return 0;
    }
    status = XELP_IniGetFileContent(name, document);
    PutText(pEnv, fileName, name);
    if (status != XELP_ERR_INI_OK) {
        free(document);
        Throw(pEnv, status);
        return 0;
    }
    return (jlong)(intptr_t)document;
}

JNIEXPORT jbyteArray JNICALL Java_wyx_commlib_IniFile_get(JNIEnv *pEnv, jclass type, jlong handle,
                                                          jbyteArray section, jbyteArray key)
{
    const Document *const document = (const Document *)(intptr_t)handle;
    char *sectionText, *keyText, *value = NULL;
    jbyteArray result = NULL;
    QAL_UINT32 status;
    (void)type;
    if (!GetText(pEnv, section, &sectionText)) {
        return NULL;
    }
    if (!GetText(pEnv, key, &keyText)) {
        PutText(pEnv, section, sectionText);
        return NULL;
    }
    status = XELP_IniGetKeyValue(document, sectionText, keyText, &value);
    PutText(pEnv, key, keyText);
    PutText(pEnv, section, sectionText);
    if (status != XELP_ERR_INI_OK) {
        Throw(pEnv, status);
    } else if (value != NULL) {
        const jsize length = (jsize)strlen(value);
        result = (*pEnv)->NewByteArray(pEnv, length);
        if (result != NULL) {
            (*pEnv)->SetByteArrayRegion(pEnv, result, 0, length, (const jbyte *)value);
        }
    }
    XELP_MemFreeD(value, __LINE__, __FILE__);
    return result;
}

JNIEXPORT void JNICALL Java_wyx_commlib_IniFile_set(JNIEnv *pEnv, jclass type, jlong handle,
                                                    jbyteArray section, jbyteArray key,
                                                    jbyteArray value)
{
    Document *const document = (Document *)(intptr_t)handle;
    const jbyteArray arrays[3] = {section, key, value};
    char *texts[3];
    QAL_UINT32 status = XELP_ERR_INI_OK;
    int got = 0;
    (void)type;
    while (got < 3 && GetText(pEnv, arrays[got], &texts[got])) {
        ++got;
    }
    if (got == 3) {
        status = XELP_IniSetKeyValue(document, texts[0], texts[1], texts[2]);
    }
    while (got-- > 0) {
        PutText(pEnv, arrays[got], texts[got]);
    }
    if (status != XELP_ERR_INI_OK) {
        Throw(pEnv, status);
    }
}

JNIEXPORT void JNICALL Java_wyx_commlib_IniFile_release(JNIEnv *pEnv, jclass type, jlong handle)
{
    Document *const document = (Document *)(intptr_t)handle;
    (void)pEnv;
    (void)type;
    XELP_IniFreeIniStruct(document);
    free(document);
}

JNIEXPORT void JNICALL Java_wyx_commlib_IniFile_save(JNIEnv *pEnv, jclass type, jlong handle,
                                                     jbyteArray fileName)
{
    Document *const document = (Document *)(intptr_t)handle;
    QAL_UINT32 status;
    char *name;
    if (!GetText(pEnv, fileName, &name)) {
        Java_wyx_commlib_IniFile_release(pEnv, type, handle);
        return;
    }
    status = XELP_IniSaveFileContent(name, document); /* releases what is in the document */
    free(document);
    PutText(pEnv, fileName, name);
    if (status != XELP_ERR_INI_OK) {
        Throw(pEnv, status);
    }
}
