package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -preCloneSetup: an installed home is about to be cloned. */
public final class KstcPreCloneSetup {
    private KstcPreCloneSetup() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcPreCloneSetup.class,
                "prepare an installed home for copying to other machines",
                arguments);
    }
}
