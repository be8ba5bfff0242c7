package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -saveInventory: the launcher waits for this one whatever the parameter file says. */
public final class KstcSaveInventory {
    private KstcSaveInventory() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcSaveInventory.class,
                "write the inventory of this session back to the central inventory directory",
                arguments);
    }
}
