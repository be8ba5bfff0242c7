package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -updateHomeDeps: dependencies between homes change. */
public final class KstcUpdateHomeDeps {
    private KstcUpdateHomeDeps() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcUpdateHomeDeps.class,
                "rewrite which homes depend on which others in the inventory",
                arguments);
    }
}
