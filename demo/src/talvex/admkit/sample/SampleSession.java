package talvex.admkit.sample;

import java.io.File;
import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.io.PrintStream;
import java.io.UnsupportedEncodingException;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.TreeMap;

/**
 * One session of the sample installer: it prints what the launcher handed over, then carries out
 * the DEMO_ orders among its arguments and says with which status the JVM is to end.
 *
 * <p>The report has one fact per line and always the same order. Values stand between square
 * brackets, so that an empty one and a trailing blank can be seen; what would break a line is
 * written as an escape. It goes out as UTF-8 whatever the locale.
 */
public final class SampleSession {
    private static final String PROPERTY_PREFIX = "talvex.installer.";

    private final Class<?> entry;
    private final String purpose;
    private final String[] arguments;
    private final PrintStream out = utf8(FileDescriptor.out);
    private final PrintStream err = utf8(FileDescriptor.err);

    public SampleSession(Class<?> entry, String purpose, String[] arguments) {
        this.entry = entry;
        this.purpose = purpose;
        this.arguments = arguments.clone();
    }

    /** A whole session for an entry class that has nothing of its own to do. Ends the JVM. */
    public static void run(Class<?> entry, String purpose, String[] arguments) {
        SampleSession session = new SampleSession(entry, purpose, arguments);
        session.report();
        System.exit(session.carryOutOrders());
    }

    /** Prints everything that reached this JVM. */
    public void report() {
        out.println("sample installer: " + entry.getName());
        out.println("a real one would: " + purpose);
        out.println("user: " + bracketed(System.getProperty("user.name", "")));
        out.println("java home: " + bracketed(System.getProperty("java.home", "")));
        out.println("java version: " + bracketed(System.getProperty("java.version", "")));
        out.println("working directory: " + bracketed(System.getProperty("user.dir", "")));
        printNamed("system properties", installerProperties());
        String classPath = System.getProperty("java.class.path", "");
        printNumbered("class path", Arrays.asList(classPath.split(File.pathSeparator, -1)));
        printNumbered("arguments", Arrays.asList(arguments));
        printNamed("environment", new TreeMap<String, String>(System.getenv()));
        out.println("end of report");
        out.flush();
    }

    /** Does what the DEMO_ arguments ask for; the result is the exit status. */
    public int carryOutOrders() {
        try {
            return Orders.parse(arguments).carryOut(out);
        } catch (Orders.Refused refused) {
            err.println("sample installer: " + refused.getMessage());
            return Orders.STATUS_REFUSED;
        } catch (IOException failure) {
            err.println("sample installer: " + failure);
            return Orders.STATUS_REFUSED;
        }
    }

    /** One more line on standard output, with the same escapes as the report. */
    public void say(String line) {
        out.println(escaped(line));
        out.flush();
    }

    /** One more numbered list in the form of the report's. */
    public void sayNumbered(String title, List<String> values) {
        printNumbered(title, values);
        out.flush();
    }

    private static Map<String, String> installerProperties() {
        Map<String, String> found = new TreeMap<String, String>();
        for (String name : System.getProperties().stringPropertyNames()) {
            if (name.startsWith(PROPERTY_PREFIX)) {
                found.put(name, System.getProperty(name));
            }
        }
        return found;
    }

    private void printNamed(String title, Map<String, String> values) {
        out.println(title + ": " + values.size());
        for (Map.Entry<String, String> value : values.entrySet()) {
            out.println("  " + escaped(value.getKey()) + "=" + bracketed(value.getValue()));
        }
    }

    private void printNumbered(String title, List<String> values) {
        out.println(title + ": " + values.size());
        for (int i = 0; i < values.size(); i++) {
            out.println("  " + (i + 1) + ": " + bracketed(values.get(i)));
        }
    }

    private static String bracketed(String value) {
        return "[" + escaped(value) + "]";
    }

    private static String escaped(String text) {
        StringBuilder result = new StringBuilder(text.length());
        int next;
        for (int i = 0; i < text.length(); i = next) {
            int c = text.codePointAt(i);
            next = i + Character.charCount(c);
            if (c == '\\') {
                result.append("\\\\");
            } else if (c == '\n') {
                result.append("\\n");
            } else if (c == '\r') {
                result.append("\\r");
            } else if (c == '\t') {
                result.append("\\t");
            } else if (Character.isISOControl(c) || Character.getType(c) == Character.SURROGATE) {
                result.append(String.format("\\u%04x", c));
            } else {
                result.appendCodePoint(c);
            }
        }
        return result.toString();
    }

    // System.out encodes for the locale; a report that is compared or mailed around must not.
    private static PrintStream utf8(FileDescriptor descriptor) {
        OutputStream stream = new FileOutputStream(descriptor);
        try {
            return new PrintStream(stream, true, "UTF-8");
        } catch (UnsupportedEncodingException e) {
            throw new IllegalStateException("every Java runtime has UTF-8", e);
        }
    }
}
