package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -removeHome: homes go, from disk and from the inventory. */
public final class KstcRemoveHome {
    private KstcRemoveHome() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcRemoveHome.class,
                "delete the files of the given homes and their entries in the inventory",
                arguments);
    }
}
