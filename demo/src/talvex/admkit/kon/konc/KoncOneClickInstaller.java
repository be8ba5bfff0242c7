package talvex.admkit.kon.konc;

import java.io.IOException;
import java.util.Arrays;
import java.util.List;

import talvex.admkit.sample.Orders;
import talvex.admkit.sample.SampleSession;

/**
 * -oneClick: a small first screen that starts the regular installer.
 *
 * <p>In a session that is not silent the arguments begin with the complete command of the regular
 * installer, java program first; what follows its entry class are the arguments for both. A silent
 * session gets the installer's own arguments and nothing to wrap.
 */
public final class KoncOneClickInstaller {
    private static final String WRAPPED_CLASS = "talvex.admkit.kst.kstc.KstcInstaller";

    private KoncOneClickInstaller() {
    }

    public static void main(String[] arguments) throws InterruptedException {
        SampleSession session = new SampleSession(KoncOneClickInstaller.class,
                "ask the few questions of a one-click installation, then start the installer"
                        + " with the command it was given",
                arguments);
        session.report();
        List<String> command = wrappedCommand(arguments);
        if (command.isEmpty()) {
            session.say("wrapped command: none, this session is silent");
            System.exit(session.carryOutOrders());
        }
        session.sayNumbered("wrapped command", command);
        if (!wantsToRun(arguments)) {
            session.say("not started; DEMO_RUN_WRAPPED=yes starts it");
            System.exit(session.carryOutOrders());
        }
        // The orders are among the command's arguments: the wrapped installer carries them out.
        System.exit(start(session, command));
    }

    // The whole argument list is the command: its options, entry class and arguments in order.
    private static List<String> wrappedCommand(String[] arguments) {
        List<String> all = Arrays.asList(arguments);
        int classPath = all.indexOf("-cp");
        boolean wrapped = classPath > 0 && classPath + 2 < all.size()
                && all.get(classPath + 2).equals(WRAPPED_CLASS);
        return wrapped ? all : Arrays.<String>asList();
    }

    private static boolean wantsToRun(String[] arguments) {
        try {
            return Orders.parse(arguments).runWrapped();
        } catch (Orders.Refused refused) {
            // carryOutOrders says what is wrong.
            return false;
        }
    }

    private static int start(SampleSession session, List<String> command)
            throws InterruptedException {
        try {
            return new ProcessBuilder(command).inheritIO().start().waitFor();
        } catch (IOException failure) {
            session.say("cannot start the wrapped command: " + failure.getMessage());
            return Orders.STATUS_REFUSED;
        }
    }
}
