package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -cleanup: the launcher waits for this one whatever the parameter file says. */
public final class KstcCleanup {
    private KstcCleanup() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcCleanup.class,
                "undo what an interrupted installation left behind",
                arguments);
    }
}
