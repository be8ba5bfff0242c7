"""Launches in the operator's language: which catalogues a locale chooses, and
the bytes of its character set on the console beside the English log."""

import gzip
import os
import re
import subprocess

import pytest

from harness import (assert_same, compile_locale, no_catalogue_in, read_catalogue, tool, write_catalogue,
                     write_file)
from harness_catalogues import LOCALES

DISPLAY_KEYS = ["S_ERPERDSP"] + [f"S_ERPERDSP_{number}" for number in range(1, 14)]
CLOCK = "/usr/openwin/bin/xclock"
START = "S_STARTINSTALLERMSG"

# locale, the catalogue that serves it, and the name of its character set in Python
IN_FORCE = [
    ("de_DE.ISO-8859-1", "de", "iso8859-1"),
    ("de_DE.UTF-8", "de", "utf-8"),
    ("es_MX.ISO-8859-1", "es", "iso8859-1"),
    ("fr_CA.UTF-8", "fr", "utf-8"),
    ("it_CH.ISO-8859-1", "it", "iso8859-1"),
    ("ja_JP.EUC-JP", "ja", "euc_jp"),
    ("ja_JP.UTF-8", "ja", "utf-8"),
    ("ko_KR.EUC-KR", "ko", "euc_kr"),
    ("pt_BR.ISO-8859-1", "pt_BR", "iso8859-1"),
    ("pt_BR.UTF-8", "pt_BR", "utf-8"),
    ("zh_CN.GB2312", "zh_CN", "gb2312"),
    ("zh_CN.GB18030", "zh_CN", "gb18030"),
    ("zh_CN.GBK", "zh_CN", "gbk"),
    ("zh_TW.BIG5", "zh_TW", "big5"),
]

# Character sets that the systems of a language's speakers use.
CODESETS = {
    "de": ["iso8859-1", "iso8859-15", "cp1252"],
    "es": ["iso8859-1", "iso8859-15", "cp1252"],
    "fr": ["iso8859-1", "iso8859-15", "cp1252"],
    "it": ["iso8859-1", "iso8859-15", "cp1252"],
    "ja": ["euc_jp", "shift_jis"],
    "ko": ["euc_kr"],
    "pt_BR": ["iso8859-1", "iso8859-15", "cp1252"],
    "zh_CN": ["gb2312", "gbk", "gb18030"],
    "zh_TW": ["big5"],
}


def make_locale(name, source, charmap):
    """A locale under any name; see compile_locale. The charmap may be a file."""
    if not os.path.lexists(f"{LOCALES}/{name}"):
        os.makedirs(LOCALES, exist_ok=True)
        if "/" in charmap:
            subprocess.run(["localedef", "--no-archive", "-c", "-i", source, "-f", charmap,
                            f"{LOCALES}/{name}"], capture_output=True, check=False)
        else:
            os.symlink(compile_locale(f"{source}.{charmap}")["LC_ALL"], f"{LOCALES}/{name}")
        assert os.path.exists(f"{LOCALES}/{name}/LC_CTYPE")
    return {"LC_ALL": name, "LOCPATH": LOCALES}


def charmap_named(codeset):
    """The charmap of ISO-8859-1 under another name and without its aliases."""
    with gzip.open("/usr/share/i18n/charmaps/ISO-8859-1.gz", "rt") as stream:
        lines = [line for line in stream if "alias" not in line]
    assert lines[0] == "<code_set_name> ISO-8859-1\n"
    return write_file(f"/tmp/{codeset}", f"<code_set_name> {codeset}\n" + "".join(lines[1:]))


def codeset_of(variables):
    """The character set that the system names for a locale."""
    done = subprocess.run(["locale", "charmap"], capture_output=True, check=True,
                          env={"PATH": "/usr/bin:/bin", **variables})
    assert done.stderr == b""
    return done.stdout.decode().strip()


def shipped(language=None):
    return read_catalogue(f"{tool('CATALOGUES')}/cons{'_' + language if language else ''}.nls")


def filled(text, *arguments):
    """The text with its %s, %d, %1$s ... replaced."""
    following = iter(arguments)
    return re.sub(r"%(?:(\d+)\$)?[sd]", lambda match: str(
        arguments[int(match.group(1)) - 1] if match.group(1) else next(following)), text)


def started(texts, charset="ascii"):
    return filled(texts[START], "Kelvane Installer").encode(charset) + b"\n"


def assert_english_log(launch, home):
    """The log of a launch that started java, in English whatever the locale."""
    english = shipped()
    arguments = "".join(argument + "\n" for argument in launch.record.argv)
    assert_same(launch.log, (
        filled(english["S_USING_PARAMFILE"], home.ini_path) + "\n"
        f"INFO: {english['S_ZUL']} Version 1.7.0.0.0 \n"
        + filled(english["S_EXECVP_ARGS"], launch.record.argv[0]) + arguments).encode())


def use(home, **texts):
    """One text for the start message in each of the catalogues named: cons,
    cons_de, ... The default one, unless named, only names its keys."""
    names = [name for name in os.listdir(home.resource) if name != "cons.nls"]
    for name in names:
        os.unlink(f"{home.resource}/{name}")
    for name, text in texts.items():
        if text is None:
            os.unlink(f"{home.resource}/{name}.nls")
        else:
            home.set_texts(name + ".nls", **{START: text})


def shown(home, variables):
    """What a launch shows as its start message, without its line end."""
    launch = home.launch("-silent", env=variables)
    launch.assert_status(0)
    assert launch.stderr == b""
    assert launch.stdout.endswith(b"\n")
    return launch.stdout[:-1]


# ---- the shipped catalogues -----------------------------------------------

@pytest.mark.parametrize("locale, language, charset", IN_FORCE, ids=[row[0] for row in IN_FORCE])
def test_a_launch_speaks_the_language_in_the_locales_bytes_and_logs_in_english(
        home, locale, language, charset):
    home.use_shipped_catalogues()
    launch = home.launch("-silent", env=compile_locale(locale))
    launch.assert_status(0)
    assert_same(launch.stdout, started(shipped(language), charset))
    assert shipped(language)[START] != shipped()[START]
    assert launch.stderr == b""
    assert_english_log(launch, home)


@pytest.mark.parametrize("locale, language, charset", IN_FORCE, ids=[row[0] for row in IN_FORCE])
def test_the_whole_screen_about_the_display_is_shown_in_the_locales_bytes(
        home, locale, language, charset):
    home.use_shipped_catalogues()
    launch = home.launch(env={**compile_locale(locale), "DISPLAY": None})
    launch.assert_status(255)
    texts = shipped(language)
    screen = "".join(texts[key] for key in DISPLAY_KEYS) + filled(texts["S_ERPERDSPXCLOCKLOC"], CLOCK)
    assert_same(launch.stdout, started(texts, charset) + screen.encode(charset))


@pytest.mark.parametrize("locale, language, charset", IN_FORCE, ids=[row[0] for row in IN_FORCE])
def test_an_error_is_told_in_the_locales_bytes_and_leaves_a_path_as_it_is(
        home, locale, language, charset):
    home.use_shipped_catalogues()
    home.ini(JRE_LOCATION=b"/nowhere/\xfe\xe4".decode(errors="surrogateescape"))
    launch = home.launch("-silent", env=compile_locale(locale))
    launch.assert_status(255)
    before, after = filled(shipped(language)["S_ERJRENFD"], "\0", "1.4").split("\0")
    assert_same(launch.stderr, before.encode(charset) + b"/nowhere/\xfe\xe4/bin/java"
                + after.encode(charset) + b"\n")


@pytest.mark.parametrize("language, charset",
                         [(language, charset) for language, names in CODESETS.items()
                          for charset in names])
def test_every_text_survives_the_character_sets_of_its_language(language, charset):
    lost = []
    for key, text in shipped(language).items():
        try:
            if len(text.encode(charset)) > 1023:
                lost.append(f"{key}: too long")
        except UnicodeEncodeError as error:
            lost.append(f"{key}: {text[error.start:error.end]}")
    assert_same(lost, [])


def test_every_english_text_is_plain_ascii():
    assert all(text.isascii() for text in shipped().values())


@pytest.mark.parametrize("variables", [
    {"LC_ALL": "C"}, {"LC_ALL": "POSIX"}, {"LANG": None}, {"LC_ALL": "C.UTF-8"},
], ids=["C", "POSIX", "none", "C in UTF-8"])
def test_without_a_language_everything_is_english(home, variables):
    home.use_shipped_catalogues()
    launch = home.launch("-silent", env=variables)
    launch.assert_status(0)
    assert_same(launch.stdout, started(shipped()))
    assert launch.stderr == b""
    assert_english_log(launch, home)


@pytest.mark.parametrize("locale", ["nl_NL.UTF-8", "pt_PT.ISO-8859-1", "zh_HK.UTF-8"])
def test_a_language_without_a_catalogue_gets_english(home, locale):
    home.use_shipped_catalogues()
    assert shown(home, compile_locale(locale)) + b"\n" == started(shipped())


def test_a_locale_that_the_system_does_not_have_gives_english(home):
    home.use_shipped_catalogues()
    assert shown(home, {"LC_ALL": "de_DE.UTF-8", "LOCPATH": "/tmp"}) + b"\n" == started(shipped())


# ---- which catalogue ------------------------------------------------------

def test_locale_comes_before_language_and_language_before_default(home):
    german = compile_locale("de_DE.UTF-8")
    use(home, cons_de_DE="locale", cons_de="language", cons="default")
    assert shown(home, german) == b"locale"
    use(home, cons_de="language", cons="default")
    assert shown(home, german) == b"language"
    use(home, cons="default")
    assert shown(home, german) == b"default"
    use(home, cons_de_AT="other country", cons_DE="country", cons_d="part", cons="default")
    assert shown(home, german) == b"default"


def test_a_partial_translation_is_completed_key_by_key(home):
    for name, keys in (("cons_de_DE", DISPLAY_KEYS[:1]), ("cons_de", DISPLAY_KEYS[:2]),
                       ("cons", DISPLAY_KEYS)):
        write_catalogue(f"{home.resource}/{name}.nls", {key: f"[{name} {key}]" for key in keys})
    launch = home.launch(env={**compile_locale("de_DE.UTF-8"), "DISPLAY": None})
    assert_same(launch.stdout, b"\n[cons_de_DE S_ERPERDSP][cons_de S_ERPERDSP_1]" + b"".join(
        b"[cons %s]" % key.encode() for key in DISPLAY_KEYS[2:]))


def test_the_log_takes_its_texts_from_the_default_catalogue_alone(home):
    use(home, cons_de_DE="locale", cons_de="language")
    home.set_texts("cons_de_DE.nls", S_USING_PARAMFILE="locale %s", S_ZUL="locale")
    launch = home.launch("-silent", env=compile_locale("de_DE.UTF-8"))
    assert launch.log.startswith(b"[en S_USING_PARAMFILE|")
    assert b"locale" not in launch.log


def test_a_translation_without_a_default_catalogue_is_shown_beside_an_empty_log(home):
    use(home, cons_de="language", cons=None)
    launch = home.launch("-silent", env=compile_locale("de_DE.UTF-8"))
    launch.assert_status(0)
    assert_same(launch.stdout, b"language\n")
    arguments = "".join(argument + "\n" for argument in launch.record.argv)
    assert_same(launch.log, b"\nINFO:  Version 1.7.0.0.0 \n" + arguments.encode())


@pytest.mark.parametrize("locale", ["C", "POSIX"])
def test_the_c_locale_has_a_catalogue_of_its_own_before_the_default_one(home, locale):
    use(home, cons_C="own", cons_POSIX="alias", cons="default")
    assert shown(home, {"LC_ALL": locale}) == b"own"
    use(home, cons_POSIX="alias", cons="default")
    assert shown(home, {"LC_ALL": locale}) == b"default"


@pytest.mark.parametrize("name, charmap", [
    ("de_DE@euro", "ISO-8859-15"), ("de_DE.ISO-8859-15@euro", "ISO-8859-15"),
    ("de_DE.UTF-8", "UTF-8"), ("de_DE", "ISO-8859-1"),
])
def test_character_set_and_modifier_do_not_name_a_catalogue(home, name, charmap):
    use(home, cons_de_DE="locale", cons="default",
        **{f"cons_{name}": "whole name"} if name != "de_DE" else {})
    assert shown(home, make_locale(name, "de_DE", charmap)) == b"locale"


def test_a_dot_counts_before_an_at_sign_wherever_it_stands(home):
    variables = make_locale("de_DE@a.b.c", "de_DE", "UTF-8")
    use(home, **{"cons_de_DE": "before the at sign", "cons_de_DE@a": "before the first dot",
                 "cons_de_DE@a.b": "before the last dot", "cons": "default"})
    assert shown(home, variables) == b"before the last dot"


def test_a_language_without_a_country_has_one_catalogue(home):
    variables = make_locale("ja", "ja_JP", "EUC-JP")
    use(home, cons_ja_JP="country", cons_ja="language", cons="default")
    assert shown(home, variables) == b"language"


def test_the_language_is_what_stands_before_the_last_underscore(home):
    variables = make_locale("az_Latn_AZ", "az_AZ", "UTF-8")
    use(home, cons_az_Latn="before the last", cons_az="before the first", cons="default")
    assert shown(home, variables) == b"before the last"
    use(home, cons_az="before the first", cons="default")
    assert shown(home, variables) == b"default"


def test_the_language_of_messages_may_differ_from_that_of_the_rest(home):
    german = compile_locale("de_DE.UTF-8")
    compile_locale("ja_JP.UTF-8")
    use(home, cons_de="German", cons_ja="Japanese", cons="default")
    assert shown(home, {"LOCPATH": german["LOCPATH"], "LANG": "ja_JP.UTF-8",
                        "LC_MESSAGES": "de_DE.UTF-8"}) == b"German"
    assert shown(home, {"LOCPATH": german["LOCPATH"], "LANG": "de_DE.UTF-8",
                        "LC_MESSAGES": "ja_JP.UTF-8"}) == b"Japanese"
    assert shown(home, {"LOCPATH": german["LOCPATH"], "LANG": "ja_JP.UTF-8"}) == b"Japanese"


# ---- Chinese --------------------------------------------------------------

@pytest.mark.parametrize("charmap, charset", [("UTF-8", "utf-8"), ("GB2312", "gb2312")])
def test_zh_alone_speaks_as_zh_cn(home, charmap, charset):
    home.use_shipped_catalogues()
    os.makedirs("/tmp/locales")
    os.symlink(f"{LOCALES}/" + compile_locale("zh_CN." + charmap)["LC_ALL"], "/tmp/locales/zh")
    launch = home.launch("-silent", env={"LC_ALL": "zh", "LOCPATH": "/tmp/locales"})
    assert_same(launch.stdout, started(shipped("zh_CN"), charset))
    assert_english_log(launch, home)


def test_zh_alone_tries_zh_cn_then_zh_then_the_default(home):
    variables = make_locale("zh", "zh_CN", "UTF-8")
    use(home, cons_zh_CN="China", cons_zh="Chinese", cons="default")
    assert shown(home, variables) == b"China"
    use(home, cons_zh="Chinese", cons="default")
    assert shown(home, variables) == b"Chinese"
    use(home, cons_zh_TW="Taiwan", cons="default")
    assert shown(home, variables) == b"default"


def test_zh_with_a_character_set_is_zh_too(home):
    variables = make_locale("zh.UTF-8", "zh_CN", "UTF-8")
    use(home, cons_zh_CN="China", cons="default")
    assert shown(home, variables) == b"China"


@pytest.mark.parametrize("locale", ["zh_TW.UTF-8", "zh_HK.UTF-8"])
def test_other_chinese_locales_are_not_zh_cn(home, locale):
    use(home, cons_zh_CN="China", cons_zh="Chinese", cons="default")
    assert shown(home, compile_locale(locale)) == b"Chinese"


# ---- 31 characters --------------------------------------------------------

LONG = "de_DEabcdefghijklmnopqrstuvwxyz"  # 31 characters


@pytest.mark.parametrize("name, catalogue", [
    (LONG, LONG),
    (LONG + "X", LONG),
    (LONG + "X.UTF-8", LONG),
    (LONG[:27] + ".UTF-8", LONG[:27]),
    (LONG[:30] + ".UTF-8", LONG[:30]),
    (LONG[:29] + "@X.UTF-8", LONG[:29]),
    ("de_DE.UTF-8@" + "x" * 30, "de_DE"),
    ("de_DE@" + "x" * 30 + ".UTF-8", "de_DE"),
    (LONG[:28] + "_XYZ", LONG[:28] + "_XY"),
], ids=["31", "32", "character set behind 32", "character set cut in two", "only its dot left",
        "modifier left", "modifier cut", "dot behind 31", "country cut"])
def test_a_locale_is_cut_to_31_characters_and_then_at_its_dot_or_at_sign(home, name, catalogue):
    assert len(LONG) == 31
    variables = make_locale(name, "de_DE", "UTF-8")
    use(home, **{f"cons_{name}": "not cut", f"cons_{name.rpartition('.')[0]}": "cut at its dot first",
                 "cons": "default", f"cons_{catalogue}": "cut"})
    assert shown(home, variables) == b"cut"


# ---- conversion -----------------------------------------------------------

@pytest.mark.parametrize("locale", ["de_DE.UTF-8", "C.UTF-8"])
def test_in_utf_8_texts_are_taken_as_they_are_whatever_they_are(home, locale):
    variables = compile_locale(locale) if locale != "C.UTF-8" else {"LC_ALL": locale}
    text = "語".encode() + b" \xff\xfe \xc3( \xed\xa0\x80 " + "😀".encode()
    home.set_texts(**{START: text})
    if os.path.exists(home.resource + "/cons_de.nls"):
        os.unlink(home.resource + "/cons_de.nls")
    assert shown(home, variables) == text


@pytest.mark.parametrize("locale, text, bytes_shown", [
    ("de_DE.ISO-8859-1", "Grüße", b"Gr\xfc\xdfe"),
    ("de_DE.ISO-8859-1", "12 € und mehr\n", b"12 "),
    ("de_DE.ISO-8859-1", b"G\xc3\xbcte \xff Rest", b"G\xfcte "),
    ("de_DE.ISO-8859-1", b"G\xc3\xbcte \xc3", b"G\xfcte "),
    ("de_DE.ISO-8859-1", "€", b""),
    ("ja_JP.EUC-JP", "語😀語", b"\xb8\xec"),
], ids=["all of it", "no such character", "no UTF-8", "an incomplete character", "the first",
        "Japanese"])
def test_a_text_ends_where_its_conversion_stopped_without_a_word(home, locale, text, bytes_shown):
    use(home, cons=text)
    assert shown(home, compile_locale(locale)) == bytes_shown


def test_a_conversion_that_stopped_does_not_touch_the_next_text(home):
    use(home, cons="x€")
    home.set_texts(S_ZUL="a€", S_USING_PARAMFILE="ü%s")
    launch = home.launch("-silent", env=compile_locale("de_DE.ISO-8859-1"))
    assert launch.log.startswith(b"\xfc" + home.ini_path.encode() + b"\nINFO: a Version")


def test_c_is_ascii_so_that_a_text_ends_at_its_first_other_character(home):
    use(home, cons="Start: gr\u00fcn\n")
    assert shown(home, {"LC_ALL": "C"}) == b"Start: gr"


def test_the_character_set_is_that_of_characters_and_not_that_of_messages(home):
    german = compile_locale("de_DE.UTF-8")
    compile_locale("de_DE.ISO-8859-1")
    use(home, cons_de="Grüße", cons="default")
    assert shown(home, {"LOCPATH": german["LOCPATH"], "LC_CTYPE": "de_DE.ISO-8859-1",
                        "LC_MESSAGES": "de_DE.UTF-8"}) == b"Gr\xfc\xdfe"
    assert shown(home, {"LOCPATH": german["LOCPATH"],
                        "LC_MESSAGES": "de_DE.UTF-8"}) == b"Gr"


def test_keys_are_not_converted(home):
    use(home, cons="default")
    home.set_texts(**{"€": "x"})
    assert shown(home, compile_locale("de_DE.ISO-8859-1")) == b"default"


# GB18030 has four bytes where UTF-8 has two.
@pytest.mark.parametrize("count, bytes_shown", [(255, 1020), (256, 1020), (300, 1020)])
def test_a_converted_text_has_room_for_1023_bytes(home, count, bytes_shown):
    use(home, cons="ß" * count)
    assert len("ß".encode("gb18030")) == 4
    assert shown(home, compile_locale("zh_CN.GB18030")) == ("ß" * count).encode("gb18030")[:bytes_shown]


# ---- converters -----------------------------------------------------------

def test_a_character_set_that_is_unknown_by_its_whole_name_is_tried_without_three_characters(home):
    variables = make_locale("de_XX", "de_DE", charmap_named("IBXISO-8859-1"))
    assert codeset_of(variables) == "IBXISO-8859-1"
    use(home, cons="Grüße")
    assert shown(home, variables) == b"Gr\xfc\xdfe"


@pytest.mark.parametrize("codeset", ["NO-SUCH-SET", "ABCNOSET"])
def test_without_a_converter_that_is_told_and_the_launch_goes_on_without_texts(home, codeset):
    home.use_shipped_catalogues()
    variables = make_locale(f"de_{codeset}", "de_DE", charmap_named(codeset))
    assert codeset_of(variables) == codeset
    launch = home.launch("-silent", env=variables, java={"stdout": "java speaks\n"})
    launch.assert_status(0)
    assert_same(launch.stderr, b"\nERROR: Unable to convert from \"UTF-8\" to \"%s\" for NLS!\n"
                % codeset.encode())
    assert_same(launch.stdout, b"\njava speaks\n")
    arguments = "".join(argument + "\n" for argument in launch.record.argv)
    assert_same(launch.log, b"\nINFO:  Version 1.7.0.0.0 \n" + arguments.encode())


def test_without_a_converter_and_without_a_catalogue_both_are_told(home):
    variables = make_locale("de_NOTHING", "de_DE", charmap_named("NOTHING-AT-ALL"))
    use(home, cons=None)
    launch = home.launch("-silent", env=variables)
    launch.assert_status(1)
    assert_same(launch.stderr,
                b"\nERROR: Unable to convert from \"UTF-8\" to \"NOTHING-AT-ALL\" for NLS!\n"
                + no_catalogue_in(home.resource))
    assert (launch.stdout, launch.record, launch.logs) == (b"", None, {})


def test_converters_that_cannot_be_found_leave_utf_8_alone(home):
    home.use_shipped_catalogues()
    os.makedirs("/tmp/converters")
    launch = home.launch("-silent", env={**compile_locale("de_DE.UTF-8"),
                                         "GCONV_PATH": "/tmp/converters"})
    launch.assert_status(0)
    assert_same(launch.stdout, started(shipped("de"), "utf-8"))
    assert launch.stderr == b""
