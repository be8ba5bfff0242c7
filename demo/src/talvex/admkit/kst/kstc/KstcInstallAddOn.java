package talvex.admkit.kst.kstc;

import talvex.admkit.sample.SampleSession;

/** -installAddons: more products for an installed home. */
public final class KstcInstallAddOn {
    private KstcInstallAddOn() {
    }

    public static void main(String[] arguments) {
        SampleSession.run(KstcInstallAddOn.class,
                "install add-on products into a home that is already installed",
                arguments);
    }
}
