"""Reads net.port of an INI file, changes it and saves the file: from_python.py FILE"""
import ctypes
import sys
from ctypes import POINTER, byref, c_char_p, c_uint32, c_void_p


class Document(ctypes.Structure):  # XELP_IN_S_INI_FILE_STRUCT
    _fields_ = [("label", c_uint32), ("lineNum", c_uint32), ("totalLine", c_uint32),
                ("iniFileNum", c_uint32), ("lines", POINTER(c_char_p))]


def declare(call, *arguments, result=c_uint32):
    call.argtypes, call.restype = arguments, result
    return call


library = ctypes.CDLL("libwyx_commlib.so.1")
adapter = ctypes.CDLL("libwyx_os_adapter.so.1")
load = declare(library.XELP_IniGetFileContent, c_char_p, POINTER(Document))
get = declare(library.XELP_IniGetKeyValue, POINTER(Document), c_char_p, c_char_p, POINTER(c_void_p))
put = declare(library.XELP_IniSetKeyValue, POINTER(Document), c_char_p, c_char_p, c_char_p)
save = declare(library.XELP_IniSaveFileContent, c_char_p, POINTER(Document))
release = declare(library.XELP_IniFreeIniStruct, POINTER(Document), result=None)
free = declare(adapter.XELP_MemFreeD, c_void_p, c_uint32, c_char_p, result=None)


def check(status):
    if status != 0:
        sys.exit(f"status {status}")


file, doc, value = sys.argv[1].encode(), Document(), c_void_p()
check(load(file, byref(doc)))
try:
    check(get(byref(doc), b"net", b"port", byref(value)))
    if value:  # null is a key without a value
        print("port:", ctypes.string_at(value).decode())
        free(value, 0, b"from_python.py")
    check(put(byref(doc), b"net", b"port", b"5061"))
    check(save(file, byref(doc)))  # releases doc, even if it fails
finally:
    release(byref(doc))  # after a save there is nothing to release
