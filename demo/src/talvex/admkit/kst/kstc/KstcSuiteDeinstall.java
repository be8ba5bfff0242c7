package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -suiteDeinstall: a whole suite is deinstalled. */
public final class KstcSuiteDeinstall {
    private KstcSuiteDeinstall() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcSuiteDeinstall.class,
                "deinstall every product of a suite, the last installed first",
                arguments);
    }
}
