import wyx.commlib.IniException;
import wyx.commlib.IniFile;

/** Reads net.port of an INI file, changes it and saves the file: java -cp . FromJava FILE */
public final class FromJava {
    public static void main(String[] arguments) throws IniException {
        String file = arguments[0];
        try (IniFile ini = new IniFile(file)) {
            System.out.println("port: " + ini.get("net", "port"));
            ini.set("net", "port", "5061");
            ini.save(file);
        }
    }
}
