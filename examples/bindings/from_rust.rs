//! Reads net.port of an INI file, changes it and saves the file: from_rust FILE
use std::ffi::{CStr, CString};
use std::os::raw::{c_char, c_void};
use std::ptr;

/// XELP_IN_S_INI_FILE_STRUCT
#[repr(C)]
struct Document {
    label: u32,
    line_num: u32,
    total_line: u32,
    ini_file_num: u32,
    lines: *mut *mut c_char,
}

#[link(name = "wyx_commlib")]
extern "C" {
    fn XELP_IniGetFileContent(file: *const c_char, doc: *mut Document) -> u32;
    fn XELP_IniGetKeyValue(doc: *const Document, section: *const c_char, key: *const c_char,
                           value: *mut *mut c_char) -> u32;
    fn XELP_IniSetKeyValue(doc: *mut Document, section: *const c_char, key: *const c_char,
                           value: *const c_char) -> u32;
    fn XELP_IniSaveFileContent(file: *const c_char, doc: *mut Document) -> u32;
    fn XELP_IniFreeIniStruct(doc: *mut Document);
}

#[link(name = "wyx_os_adapter")]
extern "C" {
    fn XELP_MemFreeD(block: *mut c_void, line: u32, file: *const c_char);
}

impl Drop for Document {
    fn drop(&mut self) {
        unsafe { XELP_IniFreeIniStruct(self) } // after a save there is nothing to release
    }
}

fn check(status: u32) -> Result<(), String> {
    if status == 0 { Ok(()) } else { Err(format!("status {}", status)) }
}

fn main() -> Result<(), String> {
    let file = std::env::args().nth(1).ok_or("usage: from_rust FILE")?;
    let text = |text: &str| CString::new(text).map_err(|error| error.to_string());
    let (file, section, key, new_port) = (text(&file)?, text("net")?, text("port")?, text("5061")?);
    let mut doc = Document {
        label: 0, line_num: 0, total_line: 0, ini_file_num: 0, lines: ptr::null_mut(),
    };
    let mut value: *mut c_char = ptr::null_mut();
    unsafe {
        check(XELP_IniGetFileContent(file.as_ptr(), &mut doc))?;
        check(XELP_IniGetKeyValue(&doc, section.as_ptr(), key.as_ptr(), &mut value))?;
        if !value.is_null() { // null is a key without a value
            println!("port: {}", CStr::from_ptr(value).to_string_lossy());
            XELP_MemFreeD(value.cast(), line!(), ptr::null());
        }
        check(XELP_IniSetKeyValue(&mut doc, section.as_ptr(), key.as_ptr(), new_port.as_ptr()))?;
        check(XELP_IniSaveFileContent(file.as_ptr(), &mut doc)) // releases what doc holds
    }
}
