package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -attachHome: a home on disk becomes known to the inventory. */
public final class KstcAttachHome {
    private KstcAttachHome() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcAttachHome.class,
                "record a home that is already on disk in the central inventory",
                arguments);
    }
}
