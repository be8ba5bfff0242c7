package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -detachHome: the inventory forgets a home; its files stay. */
public final class KstcDetachHome {
    private KstcDetachHome() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcDetachHome.class,
                "remove a home from the central inventory and leave its files on disk",
                arguments);
    }
}
