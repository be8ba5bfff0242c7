package talvex.admkit.kst.ksts;

import talvex.admkit.sample.SampleSession;

/** -relink: the programs of a home are linked again. */
public final class KstsMakeDeps {
    private KstsMakeDeps() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstsMakeDeps.class,
                "work out the link dependencies of a home and relink its programs",
                arguments);
    }
}
