"""The installer's command line, element by element, and what chooses it."""

import grp
import os

import pytest

from harness import (KELVANE, OPERATOR_HOME, assert_same, en, ini_text, java_home, write_file)

RELEASE = os.uname().release

# (jar directory, jar) in the order of the class path.
JARS = (
    [("BE", jar) for jar in (
        "TalInstaller quickrun xmlkitv2 common TalInstallerNet cfgagent cfgmgrutl TalPrereq sshlib "
        "rshell remoteapi webclient TalSuiteInstaller").split()]
    + [("TESSEL", jar) for jar in "tessel tesselactions tesselprereq tesselutil".split()]
    + [("BE", "TalCheckPoint")]
    + [("FE", jar) for jar in (
        "SetupImages SetupHelp SetupHelp_de SetupHelp_es SetupHelp_fr SetupHelp_it SetupHelp_ja "
        "SetupHelp_ko SetupHelp_pt_BR SetupHelp_zh_CN SetupHelp_zh_TW talvex_ice helpcommon hlpj "
        "uitk3 uitk3-swingaccess swingaccess").split()]
    + ["ADDED"]
    + [("FE", jar) for jar in (
        "juitk4 tali18n-collation tali18n-mapping tjmisc xmlcore nodemgr nodemgrasm").split()])


def class_path(scratch="{SCRATCH}", extension="", be="../jlib", fe="../jlib", tessel="../jlib",
               added=""):
    places = {"BE": be, "FE": fe, "TESSEL": tessel}
    entries = [scratch, extension]
    for entry in JARS:
        entries.append(added if entry == "ADDED" else f"{places[entry[0]]}/{entry[1]}.jar")
    return ":".join(entries)


def command(home, *arguments, jvm=(), entry="talvex.admkit.kst.kstc.KstcInstaller", wrapped=(),
            properties=None, after_scratch=(), before_pass_through=(), platform=(),
            java="../../jdk/jre/bin/java", path=None):
    """The whole vector of a launch from a home, with what a test changes."""
    values = {
        "library_loc": "../lib/intelsolaris",
        "zul_loc": f"{home.dir}/..",
        "bootstrap": "FALSE",
        "startup_location": home.dir,
        "jre_loc": "../../jdk/jre",
        "custom_inventory": None,
        "extjre": None,
        "copythreads": None,
        "nlsEnabled": '"TRUE"',
        "prereqConfigLoc": " ",
        "unixVersion": RELEASE,
    }
    values.update(properties or {})
    up_to_class_path = [
        java, *platform,
        *(f"-Dtalvex.installer.{name}={value}" for name, value in values.items() if value is not None),
        *jvm, "-cp", path or class_path(tessel=home.dir + "/jlib")]
    wrapper = [*up_to_class_path, "talvex.admkit.kst.kstc.KstcInstaller", *wrapped[1:]] if wrapped else []
    return [*up_to_class_path, entry, *wrapper, "-scratchPath", "{SCRATCH}", *after_scratch,
            "-sourceType", "network", "-timestamp", "{TIMESTAMP}", *before_pass_through, *arguments]


def assert_command(home, *arguments, **changes):
    launch = home.launch(*arguments)
    launch.assert_status(0)
    assert_same(launch.plain(launch.record.argv), command(home, *arguments, **changes))


# ---- whole commands -------------------------------------------------------

def test_the_command_of_a_plain_launch(home):
    assert_command(home, "-silent")


def test_every_setting_that_reaches_the_command_stands_in_its_place(home):
    os.makedirs(f"{OPERATOR_HOME}/ext/jlib")
    write_file(f"{OPERATOR_HOME}/ext/jlib/extra.jar")
    os.makedirs(f"{OPERATOR_HOME}/ext/jlib/directory.jar")
    home.ini(JRE_OSDPARAM="-d64", JRE_MEMORY_OPTIONS="-Xms16m  -Xmx64m", ZUL_LOCATION="/fe",
             ZUL_CORE_LOCATION="/be", TESSEL_LOCATION="/tessel", ADDTO_CLASSPATH="a.jar:b.jar",
             JRE_BOOT_OPTIONS='"-Xbootclasspath/a:x -Db=1"', NLS_ENABLED="no", COPY_THREADS="4",
             SOURCE="stage/products.xml", EXT_JLIB=f"{OPERATOR_HOME}/ext/jlib",
             PREREQ_CONFIG_LOCATION="/pre")
    os.rename(f"{KELVANE}/talui/jlib", f"{KELVANE}/talui/jars")
    launch = home.launch("-silent", "-J-Dfirst=1", "JVM_OPTIONS=-Dx=y -Dz", "-J-Xss1m", "-memory")
    launch.assert_status(0)
    assert_same(launch.plain(launch.record.argv), command(
        home, "-silent", "JVM_OPTIONS=-Dx=y -Dz", "-memory", platform=["-d64"],
        properties={"library_loc": "/be/lib/intelsolaris", "zul_loc": f"{home.dir}//be",
                    "copythreads": "4", "nlsEnabled": '"no"', "prereqConfigLoc": "/pre "},
        jvm=["-Xms16m", "-Xmx64m", "-Dx=y", "-Dz", "-Dfirst=1", "-Xss1m", "-Xbootclasspath/a:x",
             "-Db=1", "-verbose:gc"],
        after_scratch=["-sourceLoc", f"{home.dir}/stage/products.xml"],
        path=class_path(
            extension=f":{OPERATOR_HOME}/ext/jlib/../../ext/jlib/extra.jar", be="/be/jlib",
            fe="/fe/jlib", tessel="/tessel/jlib", added="{SCRATCH}/a.jar:{SCRATCH}/b.jar:")))


def test_the_inventorys_scripts_come_first_in_the_extension_class_path(home):
    write_file(f"{KELVANE}/inventory/Scripts/ext/jlib/own.jar")
    home.ini(EXT_JLIB="anything")
    launch = home.launch("-silent")
    assert launch.record.class_path[1:3] == [
        "", f"{home.dir}/../../inventory/Scripts/ext/jlib/own.jar"]


def test_one_click_wraps_the_complete_command_of_the_regular_installer(home):
    groups = "".join(grp.getgrgid(number).gr_name + "," for number in os.getgroups())
    assert groups, "the tests run with supplementary groups"
    assert_command(home, "-oneclick", entry="talvex.admkit.kon.konc.KoncOneClickInstaller",
                   wrapped=["wrapped", f'UnixGroups="{{{groups}}}"'])


def test_one_click_in_silence_wraps_nothing(home):
    assert_command(home, "-oneclick", "-silent", entry="talvex.admkit.kon.konc.KoncOneClickInstaller")


def test_one_click_in_help_mode_starts_the_regular_installer(home):
    assert_command(home, "-oneclick", "-help")


def test_the_one_click_class_comes_from_the_parameter_file(home):
    home.ini(INSTALL_ONECLICK_CLASS="my.OneClick", INSTALL_CLASS="my.Installer")
    assert_command(home, "-oneclick", "-silent", entry="my.OneClick")
    assert_command(home, "-silent", entry="my.Installer")


def test_add_node_adds_silent_before_what_is_passed_through(home):
    home.ini(INSTALL_CLASS="my.Installer")
    assert_command(home, "-addNode", "x", entry="my.Installer", before_pass_through=["-silent"])


def test_the_maximum_heap_of_the_command_line_removes_every_option_of_the_file(home):
    home.ini(JRE_MEMORY_OPTIONS='"-Xms16m -Dkept=no"', JRE_BOOT_OPTIONS='"-Dboot=1"')
    record = home.launch("-silent", "-J-mx256m").record
    assert record.jvm_options == ["-mx256m", "-Dboot=1"]


def test_the_boot_class_path_of_the_command_line_removes_the_boot_options_of_the_file(home):
    home.ini(JRE_MEMORY_OPTIONS="-Xms16m", JRE_BOOT_OPTIONS='"-Dboot=1"')
    record = home.launch("-silent", "-J-Xbootclasspath/a:x").record
    assert record.jvm_options == ["-Xms16m", "-Xbootclasspath/a:x"]


def test_a_small_j_is_an_argument_of_the_installer(home):
    record = home.launch("-silent", "-j-Xmx512m").record
    assert record.jvm_options == []
    assert record.passed_through == ["-silent", "-j-Xmx512m"]


def test_a_java_location_of_the_command_line_wins_and_is_passed_on(home):
    home.ini(JRE_LOCATION="/nowhere")
    record = home.launch("-silent", "-jreLoc", home.jre).record
    assert record.argv[0] == f"{home.jre}/bin/java"
    assert record.passed_through == ["-silent", "-jreLoc", home.jre]


def test_jreloc_with_a_capital_j_is_also_a_jvm_option(home):
    record = home.launch("-silent", "-JRELOC", home.jre).record
    assert record.jvm_options == ["RELOC"]
    assert record.passed_through == ["-silent", home.jre]


def test_a_custom_inventory_is_told_to_the_installer_and_takes_the_log(home):
    inventory = f"{OPERATOR_HOME}/custom"
    os.makedirs(inventory + "/logs")
    launch = home.launch("-silent", f"INVENTORY_LOCATION={inventory}")
    assert launch.record.properties["custom_inventory"] == inventory
    stamp = launch.record.after("-timestamp")
    assert os.listdir(inventory + "/logs") == [f"installActions{stamp}.log"]


def test_a_web_address_as_source_is_passed_on_as_it_is(home):
    home.ini(SOURCE="HTTP://host/x")
    assert home.launch("-silent").record.after("-sourceLoc") == "HTTP://host/x"


def test_a_startup_location_of_a_parent_launcher_is_told_without_quotes(home):
    record = home.launch("-silent", '-rstartupLoc', '"/parent/start"').record
    assert record.properties["startup_location"] == "/parent/start"
    assert record.passed_through == ["-silent"]


def test_from_location_names_the_prerequisite_directory_beside_its_file(home):
    os.makedirs(f"{OPERATOR_HOME}/stage/prereq")
    record = home.launch("-silent", f"FROM_LOCATION={OPERATOR_HOME}/stage/products.xml").record
    assert record.properties["prereqConfigLoc"] == f"{OPERATOR_HOME}/stage/prereq "


def test_the_parameter_file_overrules_a_prerequisite_location_from_from_location_only(home):
    home.ini(PREREQ_CONFIG_LOCATION="/of/the/file")
    cases = [(["FROM_LOCATION=/x/y.xml"], "/of/the/file "),
             (["PREREQ_CONFIG_LOCATION=/of/the/line"], "/of/the/line "),
             (["PREREQ_CONFIG_LOCATION=/of/the/line", "FROM_LOCATION=/x/y.xml"], "/of/the/line "),
             (["FROM_LOCATION=/x/y.xml", "PREREQ_CONFIG_LOCATION=/of/the/line"], "/of/the/line "),
             ([], "/of/the/file ")]
    for arguments, told in cases:
        record = home.launch("-silent", *arguments).record
        assert record.properties["prereqConfigLoc"] == told, arguments


@pytest.mark.parametrize("arguments, passed", [
    (["-nobootStrap", "x"], ["x"]),
    (["-NOBOOTSTRAP", "x"], ["-NOBOOTSTRAP", "x"]),
    (["-rtimestamp", "t", "x"], ["x"]),
    (["-rtimestamp", "-rtimestamp", "x"], ["x"]),
    (["a=b", "-debugx", "", "FROM_LOCATION=/some/path"],
     ["a=b", "-debugx", "", "FROM_LOCATION=/some/path"]),
    (["-scratchPathX", "/x"], ["-scratchPathX", "/x"]),
    (["-invPtrLoc"], ["-invPtrLoc"]),
    (["caf\u00e9", b"\xff\xfe", "blank inside", "quote\"'$`"],
     ["caf\u00e9", "\udcff\udcfe", "blank inside", "quote\"'$`"]),
])
def test_what_reaches_the_installer(home, arguments, passed):
    record = home.launch("-silent", *arguments).record
    assert_same(record.passed_through, ["-silent", *passed])


def test_thousands_of_arguments_keep_their_order(home):
    arguments = [f"argument{number}" for number in range(5000)]
    assert_same(home.launch("-silent", *arguments).record.passed_through, ["-silent", *arguments])


# ---- entry classes --------------------------------------------------------

KSTC = "talvex.admkit.kst.kstc.Kstc"

# option, class, installed home demanded, silent, base name of the log
COMMANDS = [
    ("-preCloneSetup", KSTC + "PreCloneSetup", True, False, "installActions"),
    ("-updateNodeList", KSTC + "UpdateNodeList", True, True, "UpdateNodeList"),
    ("-attachHome", KSTC + "AttachHome", False, True, "AttachHome"),
    ("-attachSuite", KSTC + "AttachSuite", True, True, "AttachSuite"),
    ("-installAddons", KSTC + "InstallAddOn", False, True, "InstalLAddOn"),
    ("-relink", "talvex.admkit.kst.ksts.KstsMakeDeps", False, True, "installActions"),
    ("-removeHome", KSTC + "RemoveHome", True, False, "RemoveHome"),
    ("-detachHome", KSTC + "DetachHome", True, True, "DetachHome"),
    ("-detachSuite", KSTC + "DetachSuite", True, True, "DetachSuite"),
    ("-suiteDeinstall", KSTC + "SuiteDeinstall", True, True, "SuiteDeinstall"),
    ("-updateHomeDeps", KSTC + "UpdateHomeDeps", False, True, "UpdateHomeDeps"),
    ("-addNode", KSTC + "Installer", True, True, "installActions"),
    ("-cleanup", KSTC + "Cleanup", False, False, "Cleanup"),
    ("-saveInventory", KSTC + "SaveInventory", False, False, "SaveInventory"),
    ("-prereqChecker", "talvex.admkit.kpr.kprc.kprcc.KprccPrereqApp", False, False, "installActions"),
]


@pytest.mark.parametrize("option, entry, from_home, silent, log", COMMANDS)
def test_each_command_starts_its_class_with_its_log_and_in_its_silence(
        home, option, entry, from_home, silent, log):
    location = ["PREREQ_CONFIG_LOCATION=/tmp"] if option == "-prereqChecker" else []
    launch = home.launch(option, *location)
    launch.assert_status(0)
    assert launch.record.entry_class == entry
    [path] = launch.logs
    assert os.path.basename(path).startswith(log)
    launch = home.launch(option, *location, env={"DISPLAY": None})
    assert launch.status == (0 if silent else 255)
    home.ini(DISTRIBUTION="TRUE", BOOTSTRAP_SIZE="-1")
    launch = home.launch("-silent", option, *location)
    refused = en("S_ERRORINVOKINGFROMCD", (location or [option])[-1].upper()) + b"\n"
    assert (refused in launch.stderr) == from_home


def test_the_first_command_of_the_choice_wins_and_the_last_one_names_the_log(home):
    launch = home.launch("-attachHome", "-detachHome")
    assert launch.record.entry_class == KSTC + "AttachHome"
    assert "/DetachHome" in launch.log_path


@pytest.mark.parametrize("option, entry, from_home, silent, log", COMMANDS)
def test_each_command_runs_its_class_in_a_real_jvm(home, option, entry, from_home, silent, log):
    del from_home, silent, log
    home.use_real_java()
    location = ["PREREQ_CONFIG_LOCATION=/tmp"] if option == "-prereqChecker" else []
    launch = home.launch(option, "DEMO_EXIT=7", *location, timeout=60)
    launch.assert_status(7)
    assert f"sample installer: {entry}\n".encode() in launch.stdout
    assert f"java home: [{java_home()}]\n".encode() in launch.stdout
    assert launch.scratches == []


def test_the_regular_and_the_one_click_installer_run_in_a_real_jvm(home):
    home.use_real_java()
    launch = home.launch("-silent", "DEMO_EXIT=3", timeout=60)
    launch.assert_status(3)
    assert b"sample installer: talvex.admkit.kst.kstc.KstcInstaller\n" in launch.stdout
    launch = home.launch("-oneclick", "-silent", timeout=60)
    launch.assert_status(0)
    assert b"sample installer: talvex.admkit.kon.konc.KoncOneClickInstaller\n" in launch.stdout


# ---- what is on after the command -----------------------------------------

def test_no_section_in_the_parameter_file_gives_every_default(home):
    home.ini_raw("KEY=value\n")
    launch = home.launch("-silent", "-jreLoc", home.jre)
    launch.assert_status(0)
    assert_same(launch.plain(launch.record.argv), command(
        home, "-silent", "-jreLoc", home.jre, java=f"{home.jre}/bin/java"))


def test_carriage_returns_and_blanks_around_values_do_not_matter(home):
    home.ini_raw(ini_text(**{**home.DEFAULTS, "COPY_THREADS": " 7 "}).replace("\n", "\r\n"))
    assert home.launch("-silent").record.properties["copythreads"] == "7"
