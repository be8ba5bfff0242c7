package talvex.admkit.sample;

import java.io.IOException;
import java.io.OutputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.nio.file.StandardOpenOption;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * What the operator asked the sample to do, as session variables on the launcher's command line:
 *
 * <pre>
 *   DEMO_WRITE=name[:text]   write text into the file name of the scratch directory (repeatable)
 *   DEMO_SLEEP=seconds       then sleep, decimals allowed
 *   DEMO_EXIT=status         then end with this status, 0 to 255
 *   DEMO_RUN_WRAPPED=yes     for the one-click entry class: run the command it wraps
 * </pre>
 *
 * All orders are checked before the first is carried out.
 */
public final class Orders {
    /** The exit status when an order is refused or fails. */
    public static final int STATUS_REFUSED = 2;

    /** An order that cannot be carried out; the message names it. */
    public static final class Refused extends Exception {
        private static final long serialVersionUID = 1L;

        Refused(String message) {
            super(message);
        }
    }

    private static final String PREFIX = "DEMO_";
    private static final long MAX_SLEEP_MILLIS = 3600L * 1000L;

    private final Map<String, String> files = new LinkedHashMap<String, String>();
    private String scratch = "";
    private long sleepMillis;
    private int status;
    private boolean runWrapped;

    private Orders() {
    }

    /** Reads the orders among the arguments and leaves every other argument alone. */
    public static Orders parse(String[] arguments) throws Refused {
        Orders orders = new Orders();
        for (int i = 0; i < arguments.length; i++) {
            String argument = arguments[i];
            // The launcher's own -scratchPath comes first; a later one is the operator's option,
            // which names the base directory and not the scratch directory.
            if (argument.equals("-scratchPath") && orders.scratch.isEmpty()
                    && i + 1 < arguments.length) {
                orders.scratch = arguments[i + 1];
            } else if (argument.startsWith(PREFIX)) {
                orders.add(argument);
            }
        }
        if (!orders.files.isEmpty() && orders.scratch.isEmpty()) {
            throw new Refused("DEMO_WRITE needs a scratch directory, and no -scratchPath came along");
        }
        return orders;
    }

    /** Whether the one-click entry class is to run the command it wraps. */
    public boolean runWrapped() {
        return runWrapped;
    }

    int carryOut(PrintStream out) throws Refused, IOException {
        for (Map.Entry<String, String> file : files.entrySet()) {
            write(file.getKey(), file.getValue());
            out.println("wrote: " + file.getKey());
        }
        if (sleepMillis > 0) {
            try {
                Thread.sleep(sleepMillis);
            } catch (InterruptedException e) {
                Thread.currentThread().interrupt();
            }
        }
        return status;
    }

    private void add(String argument) throws Refused {
        int equals = argument.indexOf('=');
        String name = equals < 0 ? argument : argument.substring(0, equals);
        String value = equals < 0 ? "" : argument.substring(equals + 1);
        if (name.equals("DEMO_EXIT")) {
            status = (int) wholeNumber(argument, value, 255);
        } else if (name.equals("DEMO_SLEEP")) {
            sleepMillis = milliseconds(argument, value);
        } else if (name.equals("DEMO_WRITE")) {
            int colon = value.indexOf(':');
            files.put(colon < 0 ? value : value.substring(0, colon),
                    colon < 0 ? "" : value.substring(colon + 1));
        } else if (name.equals("DEMO_RUN_WRAPPED")) {
            if (!value.equals("yes") && !value.equals("no")) {
                throw new Refused(argument + ": yes or no is wanted");
            }
            runWrapped = value.equals("yes");
        } else {
            throw new Refused(name + " is no order of the sample; it knows DEMO_WRITE, DEMO_SLEEP,"
                    + " DEMO_EXIT and DEMO_RUN_WRAPPED");
        }
    }

    private static long wholeNumber(String argument, String value, long max) throws Refused {
        if (!value.matches("[0-9]{1,9}") || Long.parseLong(value) > max) {
            throw new Refused(argument + ": a whole number from 0 to " + max + " is wanted");
        }
        return Long.parseLong(value);
    }

    private static long milliseconds(String argument, String value) throws Refused {
        if (value.matches("[0-9]{1,4}(\\.[0-9]{1,3})?")) {
            long millis = Math.round(Double.parseDouble(value) * 1000.0);
            if (millis <= MAX_SLEEP_MILLIS) {
                return millis;
            }
        }
        throw new Refused(argument + ": seconds from 0 to 3600 are wanted, such as 2 or 0.25");
    }

    // Goes down directory by directory and never through a link, so that no name can lead out of
    // the scratch directory.
    private void write(String name, String text) throws Refused, IOException {
        Path relative;
        try {
            relative = Paths.get(name);
        } catch (InvalidPathException e) {
            throw new Refused("DEMO_WRITE: " + name + " is no file name here");
        }
        if (name.isEmpty() || relative.isAbsolute()) {
            throw new Refused(notInside(name));
        }
        for (Path part : relative) {
            if (part.toString().equals("..") || part.toString().equals(".")) {
                throw new Refused(notInside(name));
            }
        }
        Path directory = Paths.get(scratch);
        if (!Files.isDirectory(directory)) {
            throw new Refused("DEMO_WRITE: the scratch directory " + scratch + " does not exist");
        }
        for (int i = 0; i < relative.getNameCount() - 1; i++) {
            directory = directory.resolve(relative.getName(i));
            if (!Files.exists(directory, LinkOption.NOFOLLOW_LINKS)) {
                Files.createDirectory(directory);
            } else if (!Files.isDirectory(directory, LinkOption.NOFOLLOW_LINKS)) {
                throw new Refused("DEMO_WRITE: " + directory + " is not a directory");
            }
        }
        Path file = directory.resolve(relative.getFileName());
        if (Files.exists(file, LinkOption.NOFOLLOW_LINKS)
                && !Files.isRegularFile(file, LinkOption.NOFOLLOW_LINKS)) {
            throw new Refused("DEMO_WRITE: " + file + " is not a plain file");
        }
        OutputStream stream = Files.newOutputStream(file, StandardOpenOption.CREATE,
                StandardOpenOption.TRUNCATE_EXISTING, StandardOpenOption.WRITE,
                LinkOption.NOFOLLOW_LINKS);
        try {
            stream.write(text.getBytes(StandardCharsets.UTF_8));
        } finally {
            stream.close();
        }
    }

    private static String notInside(String name) {
        return "DEMO_WRITE: " + (name.isEmpty() ? "the empty name" : name)
                + " does not name a file inside the scratch directory";
    }
}
