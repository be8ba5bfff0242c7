package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -updateNodeList: the inventory learns on which nodes a home lies. */
public final class KstcUpdateNodeList {
    private KstcUpdateNodeList() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcUpdateNodeList.class,
                "replace the list of cluster nodes recorded for a home in the inventory",
                arguments);
    }
}
