package wyx.commlib;

import java.nio.charset.StandardCharsets;

/**
 * An INI file in memory: load it, look up and set values, save it. Only one thread at a time may use
 * an object.
 *
 * <p>Text crosses the border as UTF-8 bytes, not as the modified UTF-8 of JNI's own string calls, which
 * encodes characters beyond U+FFFF in its own way. Bytes of a file that are not valid UTF-8 read as
 * U+FFFD.
 */
public final class IniFile implements AutoCloseable {
    static {
        System.loadLibrary("wyx_jni"); // loads the library and its adapter, too
    }

    private long handle; // of the document; 0 once it is saved or closed

    /** Loads a file. */
    public IniFile(String fileName) throws IniException {
        handle = load(bytes(fileName));
    }

    /** The value of a key. An empty one is null before a comment, else the first byte of the line end. */
    public String get(String section, String key) throws IniException {
        byte[] value = get(open(), bytes(section), bytes(key));
        return value == null ? null : new String(value, StandardCharsets.UTF_8);
    }

    /**
     * Sets the value of a key; adds the key and its section if they are missing. Text is written as
     * given: a line end in it makes several lines, so check what users type before you set it.
     */
    public void set(String section, String key, String value) throws IniException {
        set(open(), bytes(section), bytes(key), bytes(value));
    }

    /**
     * Saves a changed document to a file. The document is released even if the library reports a
     * failure: load it again to continue.
     */
    public void save(String fileName) throws IniException {
        byte[] name = bytes(fileName);
        long saved = open();
        handle = 0;
        save(saved, name);
    }

    /** Releases the document without saving it. */
    @Override
    public void close() {
        if (handle != 0) {
            release(handle);
            handle = 0;
        }
    }

    private long open() {
        if (handle == 0) {
            throw new IllegalStateException("saved or closed");
        }
        return handle;
    }

    /** The text with a terminator, as C expects it. */
    private static byte[] bytes(String text) {
        if (text == null) {
            return null;
        }
        if (text.indexOf('\0') >= 0) {
            throw new IllegalArgumentException("NUL in a text"); // C would take it for the end
        }
        return (text + '\0').getBytes(StandardCharsets.UTF_8);
    }

    private static native long load(byte[] fileName) throws IniException;

    private static native byte[] get(long handle, byte[] section, byte[] key) throws IniException;

    private static native void set(long handle, byte[] section, byte[] key, byte[] value)
            throws IniException;

    private static native void save(long handle, byte[] fileName) throws IniException;

    private static native void release(long handle);
}
