package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** The installer itself: what a launch without a command option starts. */
public final class KstcInstaller {
    private KstcInstaller() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcInstaller.class,
                "ask what to install and where, then install the products of the source location",
                arguments);
    }
}
