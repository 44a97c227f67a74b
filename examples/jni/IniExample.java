import wyx.commlib.IniException;
import wyx.commlib.IniFile;

/** Changes a file and reads it again: java -cp . IniExample FILE */
public final class IniExample {
    private static void expect(boolean condition, String what) {
        if (!condition) {
            throw new AssertionError(what);
        }
    }

    public static void main(String[] arguments) throws IniException {
        String file = arguments[0];
        String note = "caf\u00e9 \ud83d\ude00"; // beyond ASCII, and beyond U+FFFF
        try (IniFile ini = new IniFile(file)) {
            System.out.println("port: " + ini.get("net", "port"));
            System.out.println("proxy: " + ini.get("net", "proxy"));
            ini.set("net", "port", "5062");
            ini.set("net", "note", note);
            ini.save(file);
            try {
                ini.get("net", "port");
                throw new AssertionError("a saved document was used");
            } catch (IllegalStateException expected) {
                System.out.println("saved");
            }
        }
        try (IniFile ini = new IniFile(file)) {
            System.out.println("port: " + ini.get("net", "port"));
            expect(note.equals(ini.get("net", "note")), "the note reads back differently");
            try {
                ini.get("none", "port");
                throw new AssertionError("a section that is not there was found");
            } catch (IniException expected) {
                System.out.println(expected.getMessage());
            }
            try {
                ini.set("net", "a\0b", "c");
                throw new AssertionError("a NUL was accepted");
            } catch (IllegalArgumentException expected) {
                System.out.println(expected.getMessage());
            }
        }
        try {
            new IniFile(file + ".none").close();
            throw new AssertionError("a file that is not there was loaded");
        } catch (IniException expected) {
            System.out.println(expected.getMessage());
        }
    }
}
