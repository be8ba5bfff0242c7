"""The check of installed patches, and which patch makes up for another."""

import pytest

from harness import de, en, write_script
from prereq_texts import (GENERIC, OPTIONAL, REQUIRED, SHOWREV, Said, assert_check, assert_fails,
                          assert_passes, certified_host, has_patches, prints)

NOT_FOUND = ("S_NOT_FOUND_PATCH",)
FAILED = ("S_SFAILED",)


def found(patch):
    return ("S_FOUND_PATCH", patch)


def obsoleted(patch):
    return ("S_OBSOLETED_PATCH", patch)


# ---- one patch ------------------------------------------------------------

@pytest.mark.parametrize("required, installed, patch", [
    ("112233-05", "112233-05", "112233-05"),
    ("112233-05", "112233-07", "112233-07"),
    ("112233-05", "112233-5", "112233-5"),
    ("112233-5", "112233-05", "112233-05"),
    ("112233", "112233-01", "112233-01"),
    ("112233-00", "112233-01", "112233-01"),
    ("2233-05", "112233-07", "2233-07"),
    ("1122", "112233-07", "1122-07"),
], ids=["equal", "higher", "equal without 0", "required without 0", "no revision required",
        "revision 0 required", "end of a longer number", "start of a longer number"])
def test_a_patch_of_the_required_revision_or_higher_is_found(home, required, installed, patch):
    has_patches("100000-01", installed, "999999-01")
    assert_passes(home, "PATCHES", required, Said().patches(required, (required, found(patch))))


@pytest.mark.parametrize("required, installed", [
    ("112233-05", ["112234-07"]),
    ("112233-05", []),
    ("112233-05", ["112233-00"]),
    ("112233-00", ["112233-00"]),
    ("112233--1", ["112233-07"]),
    ("112233-05", ["112233-0000000007"]),
    ("11223344556677889900-05", ["11223344556677889900-07"]),
], ids=["other number", "no patch at all", "installed revision 0", "revision 0 is no revision",
        "negative revision", "revision of ten characters", "number of twenty characters"])
def test_a_patch_that_is_not_there_is_not_found(home, required, installed):
    has_patches(*installed)
    assert_fails(home, "PATCHES", required, Said().patches(
        required, (required, NOT_FOUND, FAILED), passed=False))


def test_numbers_and_revisions_just_short_enough_are_found(home):
    has_patches("1122334455667788990-07", "700001-000000007")
    value = "1122334455667788990-05,700001-05"
    assert_passes(home, "PATCHES", value, Said().patches(
        value,
        ("1122334455667788990-05", found("1122334455667788990-07")),
        ("700001-05", found("700001-000000007"))))


def test_a_lower_revision_is_named_and_fails(home):
    has_patches("112233-03")
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", found("112233-03"), FAILED), passed=False))


def test_the_last_of_several_lower_revisions_is_named(home):
    has_patches("112233-03", "112233-04", "112233-02")
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", found("112233-02"), FAILED), passed=False))


def test_a_sufficient_revision_among_lower_ones_is_found(home):
    has_patches("112233-03", "112233-07", "112233-09")
    assert_passes(home, "PATCHES", "112233-05",
                  Said().patches("112233-05", ("112233-05", found("112233-07"))))


@pytest.mark.parametrize("obsoletes", ["112233-05", "100000-01, 112233-05", "112233-05,100000-01",
                                       "100000-01 112233-05"])
def test_a_patch_that_an_installed_one_makes_obsolete_is_accepted(home, obsoletes):
    has_patches(("445566-01", obsoletes))
    assert_passes(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", obsoleted("112233-05"))))


def test_a_higher_revision_that_is_obsolete_is_accepted_and_named(home):
    has_patches(("445566-01", "112233-09"))
    assert_passes(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", obsoleted("112233-09"))))


def test_a_lower_revision_that_is_obsolete_is_named_and_fails(home):
    has_patches(("445566-01", "112233-03"))
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", obsoleted("112233-03"), FAILED), passed=False))


def test_an_obsolete_lower_revision_is_named_rather_than_an_installed_one(home):
    has_patches("112233-04", ("445566-01", "112233-03"))
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", obsoleted("112233-03"), FAILED), passed=False))


def test_an_installed_revision_counts_before_an_obsolete_one(home):
    has_patches(("445566-01", "112233-09"), "112233-05")
    assert_passes(home, "PATCHES", "112233-05",
                  Said().patches("112233-05", ("112233-05", found("112233-05"))))


def test_patches_required_by_installed_ones_and_their_packages_do_not_count(home):
    prints(SHOWREV, "Patch: 100000-01 Obsoletes:  Requires: 112233-05, 112233-06"
                    " Incompatibles: 112233-07 Packages: 112233-08, SUNWcsr\n"
                    "Patch: 100000-02 Obsoletes:  Requires:  Incompatibles:  Packages: SUNWcsr\n")
    assert_fails(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", NOT_FOUND, FAILED), passed=False))


@pytest.mark.parametrize("output, result", [
    ("112233-05 and no label\n", [NOT_FOUND, FAILED]),
    ("Patch: ", [NOT_FOUND, FAILED]),
    ("Patch:112233-05 Obsoletes:", [NOT_FOUND, FAILED]),
    ("Patch: 112233-05", [found("112233-05")]),
    ("Patch: 100000-01 Obsoletes: 112233-05", [obsoleted("112233-05")]),
    ("Warning: old data\nPatch: 112233-05 Obsoletes:", [found("112233-05")]),
], ids=["no label", "nothing behind the label", "no blank", "cut off behind a patch",
        "cut off in a list", "text before the list"])
def test_an_incomplete_list_counts_as_far_as_it_goes(home, output, result):
    prints(SHOWREV, output)
    passed = FAILED not in result
    assert_check(home, "PATCHES", "112233-05", Said().patches(
        "112233-05", ("112233-05", *result), passed=passed), passed)


# ---- lists ----------------------------------------------------------------

def test_every_patch_of_the_list_is_looked_for_and_one_missing_fails_all(home):
    has_patches("100000-02", ("100001-01", "300000-05"), "400000-01")
    value = "100000-01,200000-01,300000-05,400000-02,100001-01"
    assert_fails(home, "PATCHES", value, Said().patches(
        value,
        ("100000-01", found("100000-02")),
        ("200000-01", NOT_FOUND, FAILED),
        ("300000-05", obsoleted("300000-05")),
        ("400000-02", found("400000-01"), FAILED),
        ("100001-01", found("100001-01")), passed=False))


def test_empty_items_of_a_patch_list_vanish(home):
    has_patches("100000-01", "200000-01")
    value = ",,100000-01,,200000-01,"
    assert_passes(home, "PATCHES", value, Said().patches(
        value, ("100000-01", found("100000-01")), ("200000-01", found("200000-01"))))


def test_a_patch_list_of_commas_passes(home):
    has_patches("100000-01")
    assert_passes(home, "PATCHES", ",,", Said().patches(",,"))


def test_a_patch_after_a_blank_is_found_by_its_number(home):
    has_patches("100000-01", "200000-02")
    value = "100000-01, 200000-01"
    assert_passes(home, "PATCHES", value, Said().patches(
        value, ("100000-01", found("100000-01")), (" 200000-01", found("200000-02"))))


def test_the_patches_are_listed_once_in_the_c_locale(home):
    write_script(SHOWREV, 'echo "Patch: $((100000 + $#))-0${#LC_ALL} Obsoletes: "\n'
                          'echo "$*" >> /tmp/calls\n')
    assert_passes(home, "PATCHES", "100001-01,100001-01", Said().patches(
        "100001-01,100001-01", *[("100001-01", found("100001-01"))] * 2))
    with open("/tmp/calls", encoding="ascii") as file:
        assert file.read() == "-p\n"


def test_a_host_of_ten_thousand_patches_is_read_to_the_end(home):
    has_patches(*(f"{100000 + number}-01" for number in range(10_000)), ("500000-01", "600000-03"))
    assert_passes(home, "PATCHES", "109999-01,600000-02", Said().patches(
        "109999-01,600000-02", ("109999-01", found("109999-01")),
        ("600000-02", obsoleted("600000-03"))))


# ---- what stays off the console -------------------------------------------

@pytest.mark.parametrize("section", [REQUIRED, OPTIONAL])
@pytest.mark.parametrize("setting, value_shown", [
    ("FALSE", False), ("F", False), ("TRUE", True), ("false", True), ("", True)])
def test_the_setting_that_begins_with_f_keeps_the_list_off_the_console(home, section, setting,
                                                                      value_shown):
    has_patches("100000-01")
    certified_host(home, (section, {"LOG_PATCHES_TO_CONSOLE": setting}),
                   (OPTIONAL if section == REQUIRED else REQUIRED, {"PATCHES": "100000-01"}))
    said = Said().certified_host()
    patches = ("100000-01", ("100000-01", found("100000-01")))
    if section == OPTIONAL:
        said.patches(*patches, value_shown=value_shown).report("S_PRE_REQREQ_PASSED")
    else:
        said.report("S_PRE_REQREQ_PASSED").patches(*patches, value_shown=value_shown)
    said.assert_went_on(home.launch(), home)


def test_the_setting_of_the_required_section_wins_over_the_optional_one(home):
    has_patches("100000-01")
    certified_host(home, (REQUIRED, {"LOG_PATCHES_TO_CONSOLE": "TRUE", "PATCHES": "100000-01"}),
                   (OPTIONAL, {"LOG_PATCHES_TO_CONSOLE": "FALSE"}))
    (Said().certified_host().patches("100000-01", ("100000-01", found("100000-01")))
     .report("S_PRE_REQREQ_PASSED").assert_went_on(home.launch(), home))


def test_the_generic_phase_always_shows_its_patches(home):
    has_patches("100000-01")
    home.ini((GENERIC, {"LOG_PATCHES_TO_CONSOLE": "FALSE", "PATCHES": "100000-01"}),
             (REQUIRED, {"LOG_PATCHES_TO_CONSOLE": "FALSE"}))
    (Said().patches("100000-01", ("100000-01", found("100000-01")))
     .assert_went_on(home.launch(), home))


# ---- optional patches -----------------------------------------------------

MISSING = ("112233-05", ("112233-05", NOT_FOUND, FAILED))


def explained(launch, said, listed=True):
    """What is said of missing optional patches: each text at once in the
    operator's language, all of them once more in English."""
    collected = en("S_FAILED_PATCHES_1", launch.log_path) + en("S_FAILED_PATCHES_2")
    said.show("S_FAILED_PATCHES_1", launch.log_path).show("S_FAILED_PATCHES_2")
    said.show("S_FAILED_PATCHES_SOLARIS")
    if listed:
        collected += en("S_FAILED_PATCHES_SOLARIS")
    else:
        said.record("S_FAILED_PATCHES_SOLARIS")
    return said.plain(collected)


def test_missing_optional_patches_are_explained(home):
    has_patches()
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05"}))
    launch = home.launch("-noConsole")
    said = Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
    explained(launch, said).assert_ended(launch, home)


def test_patches_kept_off_the_console_have_the_last_sentence_in_the_log_alone(home):
    has_patches()
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05", "LOG_PATCHES_TO_CONSOLE": "FALSE"}))
    launch = home.launch("-noConsole")
    said = Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(
        *MISSING, passed=False, value_shown=False)
    explained(launch, said, listed=False).assert_ended(launch, home)


def test_a_failure_message_takes_the_place_of_the_explanation(home):
    has_patches()
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05",
                                     "PATCHES_FAILURE_MESSAGE": "Patch it."}))
    (Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
     .plain("\n\nPatch it.").assert_ended(home.launch("-noConsole"), home))


def test_missing_required_patches_are_not_explained(home):
    has_patches()
    certified_host(home, (REQUIRED, {"PATCHES": "112233-05"}))
    (Said().certified_host().patches(*MISSING, passed=False).required_failed()
     .assert_ended(home.launch("-noConsole"), home))


def test_ignored_optional_patches_count_as_optional_checks_when_the_text_names_the_log(home):
    has_patches()
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05"}))
    launch = home.launch("-ignoreSysPrereqs")
    said = Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
    said.show("S_FAILED_PATCHES_1", launch.log_path).show("S_FAILED_PATCHES_2")
    said.show("S_FAILED_PATCHES_SOLARIS").report("S_IGNORE_OPT_SYS_PREREQ")
    said.assert_went_on(launch, home)


def test_ignored_optional_patches_are_told_by_a_text_without_placeholder(home):
    has_patches()
    home.set_texts(S_FAILED_PATCHES_1="Patches are missing.\n")
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05"}))
    (Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
     .show_plain("Patches are missing.\n").show("S_FAILED_PATCHES_2")
     .show("S_FAILED_PATCHES_SOLARIS").report("S_IGNORE_PATCH_SYS_PREREQ")
     .assert_went_on(home.launch("-ignoreSysPrereqs"), home))


def test_without_a_text_for_missing_patches_ignored_ones_count_as_optional_checks(home):
    has_patches()
    home.set_texts(S_FAILED_PATCHES_1=None)
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05"}))
    (Said().certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
     .show("S_FAILED_PATCHES_2").show("S_FAILED_PATCHES_SOLARIS").report("S_IGNORE_OPT_SYS_PREREQ")
     .assert_went_on(home.launch("-ignoreSysPrereqs"), home))


def test_in_another_language_the_english_text_does_not_tell_ignored_patches(home, german):
    has_patches()
    home.set_texts(S_FAILED_PATCHES_1="Patches are missing.\n")
    home.set_texts("cons_de.nls", S_FAILED_PATCHES_1="Es fehlen Patches.\n")
    certified_host(home, (OPTIONAL, {"PATCHES": "112233-05"}))
    launch = home.launch("-ignoreSysPrereqs", env=german)
    (Said(de).certified_host().report("S_PRE_REQREQ_PASSED").patches(*MISSING, passed=False)
     .show_plain("Es fehlen Patches.\n").show("S_FAILED_PATCHES_2")
     .show("S_FAILED_PATCHES_SOLARIS").report("S_IGNORE_OPT_SYS_PREREQ")
     .assert_went_on(launch, home))
