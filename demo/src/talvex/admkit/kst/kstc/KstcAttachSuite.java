package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -attachSuite: a suite on disk becomes known to the inventory. */
public final class KstcAttachSuite {
    private KstcAttachSuite() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcAttachSuite.class,
                "record an installed suite and its member homes in the central inventory",
                arguments);
    }
}
