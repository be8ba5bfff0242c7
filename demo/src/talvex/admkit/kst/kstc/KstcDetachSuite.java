package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -detachSuite: the inventory forgets a suite; its files stay. */
public final class KstcDetachSuite {
    private KstcDetachSuite() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcDetachSuite.class,
                "remove a suite from the central inventory and leave its files on disk",
                arguments);
    }
}
