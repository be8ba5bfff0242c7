package talvex.admkit.kpr.kprc.kprcc;

import talvex.admkit.sample.SampleSession;

/** -prereqChecker: only the prerequisites are checked; nothing is installed. */
public final class KprccPrereqApp {
    private KprccPrereqApp() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KprccPrereqApp.class,
                "check this machine against the prerequisite configuration and report",
                arguments);
    }
}
