"""The message catalogue compiler: what it writes, byte for byte, and what it refuses.

The environment variable CATALOGUE_COMPILER names the program.
"""

import os
import pathlib
import resource
import signal
import subprocess

import pytest

HEADER = 'msgid ""\nmsgstr "Content-Type: text/plain; charset=UTF-8\\n"\n'


def entry(key, english, translated=""):
    return f'\nmsgctxt "{key}"\nmsgid "{english}"\nmsgstr "{translated}"\n'


def po(*entries):
    return HEADER + "".join(entries)


class Compiler:
    def __init__(self, directory):
        self.directory = directory
        self.template = directory / "cons.pot"
        self.translation = directory / "de.po"
        self.output = directory / "out.nls"

    def run(self, template, translation=None, **popen_options):
        arguments = ["--template", str(self.template)]
        self.write(self.template, template)
        if translation is not None:
            self.write(self.translation, translation)
            arguments += ["--translation", str(self.translation)]
        return self.run_with(*arguments, "-o", str(self.output), **popen_options)

    def run_with(self, *arguments, **popen_options):
        return subprocess.run(
            [os.environ["CATALOGUE_COMPILER"], *arguments],
            capture_output=True,
            check=False,
            **popen_options,
        )

    @staticmethod
    def write(path, content):
        path.write_bytes(content if isinstance(content, bytes) else content.encode("utf-8"))

    def compiled(self, template, translation=None):
        result = self.run(template, translation)
        assert (result.stderr, result.stdout, result.returncode) == (b"", b"", 0)
        return self.output.read_bytes()

    def assert_refused(self, result, *reports):
        assert result.stderr.decode() == "".join(f"{self.directory}/{r}\n" for r in reports)
        assert result.stdout == b""
        assert result.returncode == 1
        assert not self.output.exists()
        assert sorted(p.name for p in self.directory.iterdir()) == sorted(
            p.name for p in (self.template, self.translation) if p.exists()
        )

    def template_is_refused(self, template, *reports):
        self.assert_refused(self.run(template), *reports)

    def translation_is_refused(self, template, translation, *reports):
        self.assert_refused(self.run(template, translation), *reports)


@pytest.fixture
def compiler(tmp_path):
    return Compiler(tmp_path)


# ---- what is written


def test_the_english_catalogue_has_a_record_for_each_entry_in_the_order_of_the_template(compiler):
    template = po(entry("S_B", "beta"), entry("S_A", "alpha"), entry("S_C", "gamma"))
    assert compiler.compiled(template) == b"S_B=beta\0S_A=alpha\0S_C=gamma\0"


def test_a_translation_is_written_in_the_order_of_the_template(compiler):
    template = po(entry("S_B", "beta"), entry("S_A", "alpha"))
    translation = po(entry("S_A", "alpha", "erstes"), entry("S_B", "beta", "zweites"))
    assert compiler.compiled(template, translation) == b"S_B=zweites\0S_A=erstes\0"


def test_texts_are_written_in_utf_8_with_their_line_ends_quotes_and_blanks(compiler):
    template = po(entry("S_A", '\\n  say \\"a=b\\": \\tc\\\\d \\n'))
    translation = po(entry("S_A", '\\n  say \\"a=b\\": \\tc\\\\d \\n', "\\nüß 日本 \\n"))
    assert compiler.compiled(template) == b'S_A=\n  say "a=b": \tc\\d \n\0'
    assert compiler.compiled(template, translation) == "S_A=\nüß 日本 \n\0".encode()


def test_a_text_over_several_lines_is_one_text(compiler):
    template = HEADER + '\nmsgctxt\n"S_"\n"A"\nmsgid\n"one "\n"two"\nmsgstr ""\n'
    assert compiler.compiled(template) == b"S_A=one two\0"


def test_comments_flags_and_references_do_not_reach_the_catalogue(compiler):
    comments = "\n# a\n#. b\n#: c.cpp:1\n#, c-format\n#| msgctxt \"S_OLD\"\n#| msgid \"old\""
    template = HEADER + comments + entry("S_A", "took %d s")
    assert compiler.compiled(template) == b"S_A=took %d s\0"


def test_equal_english_texts_may_have_different_keys(compiler):
    assert compiler.compiled(po(entry("S_A", "x"), entry("S_B", "x"))) == b"S_A=x\0S_B=x\0"


def test_an_earlier_catalogue_is_replaced_as_a_whole(compiler):
    compiler.output.write_bytes(b"S_OLD=a long text of an earlier catalogue\0")
    assert compiler.compiled(po(entry("S_A", "x"))) == b"S_A=x\0"
    assert sorted(p.name for p in compiler.directory.iterdir()) == ["cons.pot", "out.nls"]


def test_the_catalogue_has_the_permissions_of_an_ordinary_new_file(compiler):
    result = compiler.run(po(entry("S_A", "x")), umask=0o027)
    assert result.returncode == 0
    assert compiler.output.stat().st_mode & 0o7777 == 0o640


def test_a_record_of_1023_bytes_is_written(compiler):
    text = "é" * 509 + "x"
    assert len(f"S_A={text}".encode()) == 1023
    assert compiler.compiled(po(entry("S_A", text))) == f"S_A={text}\0".encode()


# ---- the command line


@pytest.mark.parametrize(
    "arguments",
    [
        [],
        ["--template", "cons.pot"],
        ["-o", "out.nls"],
        ["--template", "cons.pot", "-o"],
        ["--template", "cons.pot", "-o", ""],
        ["--template", "cons.pot", "--template", "cons.pot", "-o", "out.nls"],
        ["--template", "cons.pot", "-o", "out.nls", "more"],
        ["--template", "cons.pot", "-o", "out.nls", "--other", "x"],
    ],
)
def test_a_wrong_command_line_shows_the_usage_and_gives_status_2(compiler, arguments):
    compiler.write(compiler.template, po(entry("S_A", "x")))
    result = compiler.run_with(*arguments, cwd=compiler.directory)
    assert result.stderr == (
        b"usage: catalogue_compiler --template FILE.pot [--translation FILE.po] -o FILE.nls\n"
    )
    assert result.returncode == 2
    assert [p.name for p in compiler.directory.iterdir()] == ["cons.pot"]


# ---- files


def test_a_file_that_does_not_exist_is_refused(compiler):
    result = compiler.run_with("--template", str(compiler.template), "-o", str(compiler.output))
    compiler.assert_refused(result, "cons.pot: cannot be read: No such file or directory")


def test_a_translation_that_does_not_exist_is_refused(compiler):
    compiler.write(compiler.template, po(entry("S_A", "x")))
    result = compiler.run_with(
        "--template", str(compiler.template),
        "--translation", str(compiler.translation),
        "-o", str(compiler.output),
    )  # fmt: skip
    compiler.assert_refused(result, "de.po: cannot be read: No such file or directory")


def test_a_directory_in_place_of_a_file_is_refused(compiler):
    compiler.template.mkdir()
    result = compiler.run_with("--template", str(compiler.template), "-o", str(compiler.output))
    compiler.assert_refused(result, "cons.pot: cannot be read: Is a directory")


@pytest.mark.parametrize(
    "content, lines",
    [
        (po(entry("S_A", "x"), "\nwhat\n", entry("S_B", "y"), "\nelse\n"), [8, 14]),
        (HEADER + '\nmsgctxt "S_A"\nmsgid "x\nmsgstr ""\n', [6]),
        (HEADER + '\nmsgctxt "S_A"\nmsgid "x"\n', [5]),
        (HEADER + '\nmsgid "x" "\\y"\nmsgstr ""\n', [4]),
    ],
)
def test_a_broken_po_file_is_refused_with_every_line_at_fault(compiler, content, lines):
    result = compiler.run(content)
    places = [line.split(": ")[0] for line in result.stderr.decode().splitlines()]
    assert list(dict.fromkeys(places)) == [f"{compiler.template}:{line}" for line in lines]
    assert result.returncode == 1
    assert [p.name for p in compiler.directory.iterdir()] == ["cons.pot"]


def test_bytes_that_are_not_utf_8_are_refused(compiler):
    template = po().encode() + entry("S_A", "caf\u00e9").encode("latin-1")
    compiler.template_is_refused(template, "cons.pot:5: invalid multibyte sequence")


@pytest.mark.parametrize(
    "header",
    [
        "",
        'msgid ""\nmsgstr "Language: de\\n"\n',
        'msgid ""\nmsgstr "Content-Type: text/plain; charset=ISO-8859-1\\n"\n',
        'msgid ""\nmsgstr "Content-Type: text/plain; charset=KOI8-R\\n"\n',
    ],
)
def test_a_file_whose_header_does_not_say_utf_8_is_refused(compiler, header):
    compiler.template_is_refused(
        header + entry("S_A", "x"), "cons.pot:1: the header does not say charset=UTF-8"
    )


def test_entries_of_another_domain_are_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "x")) + '\ndomain "other"\n' + entry("S_B", "y"),
        "cons.pot:1: only plain entries can be compiled: no domains, and each of msgctxt, msgid "
        "and msgstr on a line of its own",
    )


def test_a_refused_compilation_leaves_no_earlier_catalogue_behind(compiler):
    compiler.output.write_bytes(b"S_OLD=earlier\0")
    compiler.template_is_refused(
        po(entry("S_A", "%y")),
        'cons.pot:4: S_A: the launcher cannot fill in the directive that begins at "%y"',
    )


def test_an_output_directory_that_does_not_exist_is_reported(compiler):
    compiler.output = compiler.directory / "missing" / "out.nls"
    compiler.assert_refused(
        compiler.run(po(entry("S_A", "x"))),
        "missing/out.nls: cannot be written: No such file or directory",
    )


def test_a_write_error_leaves_neither_a_catalogue_nor_a_temporary_file(compiler):
    def limit_file_size():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (8, 8))

    result = compiler.run(
        po(entry("S_A", "x" * 100)), preexec_fn=limit_file_size, restore_signals=False
    )
    compiler.assert_refused(result, "out.nls: cannot be written: File too large")


@pytest.mark.parametrize("name", ["cons.pot", "de.po", "directory", "link"])
def test_an_output_that_is_a_source_or_no_regular_file_is_left_alone(compiler, name):
    template = po(entry("S_A", "x"))
    translation = po(entry("S_A", "x", "y"))
    (compiler.directory / "directory").mkdir()
    (compiler.directory / "link").symlink_to("directory")
    compiler.output = compiler.directory / name
    result = compiler.run(template, translation)
    assert result.stderr.decode() == f"{compiler.output}: is not a file that may be replaced\n"
    assert result.returncode == 1
    assert compiler.template.read_text() == template
    assert compiler.translation.read_text() == translation
    assert (compiler.directory / "link").is_symlink()


# ---- entries


def test_an_entry_without_context_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "x"), '\nmsgid "y"\nmsgstr ""\n'),
        "cons.pot:8: the entry has no context, which would be its key",
    )


def test_an_empty_key_is_refused(compiler):
    compiler.template_is_refused(po(entry("", "x")), "cons.pot:4: the key is empty")


def test_a_key_with_an_equals_sign_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A=B", "x")), 'cons.pot:4: S_A=B: the key contains "="'
    )


def test_an_entry_that_stands_twice_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "x"), entry("S_A", "x")),
        "cons.pot:9: S_A: duplicate message definition",
    )


def test_a_key_with_two_english_texts_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "x"), entry("S_B", "y"), entry("S_A", "z")),
        "cons.pot:12: S_A: the key is repeated; line 4 has it first",
    )


def test_an_entry_with_a_plural_is_refused(compiler):
    compiler.template_is_refused(
        HEADER + '\nmsgctxt "S_A"\nmsgid "x"\nmsgid_plural "y"\nmsgstr[0] ""\nmsgstr[1] ""\n',
        "cons.pot:4: S_A: the entry has a plural form",
    )


def test_an_empty_english_text_is_refused(compiler):
    compiler.template_is_refused(po(entry("S_A", "")), "cons.pot:4: S_A: the text is empty")


def test_a_template_with_a_translation_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "x", "y")), "cons.pot:4: S_A: the template has a translation"
    )


@pytest.mark.parametrize("escape", ["\\0", "\\00", "\\000", "\\400", "\\x0", "\\x00", "\\x100"])
def test_a_text_with_an_escaped_nul_is_refused(compiler, escape):
    compiler.template_is_refused(
        po(entry("S_A", f"one{escape} two")),
        "cons.pot:4: S_A: a text contains a NUL byte (line 5)",
    )


def test_a_text_with_a_nul_byte_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "one two")),
        po(entry("S_A", "one two", "eins\0 zwei")),
        "de.po:4: S_A: a text contains a NUL byte (line 6)",
    )


def test_a_digit_after_an_escaped_backslash_is_no_nul(compiler):
    assert compiler.compiled(po(entry("S_A", "C:\\\\0"))) == b"S_A=C:\\0\0"


def test_a_record_of_1024_bytes_is_refused(compiler):
    text = "é" * 510
    compiler.template_is_refused(
        po(entry("S_A", text)),
        "cons.pot:4: S_A: key and text make a record of 1024 bytes; the launcher reads 1023",
    )


def test_a_translation_that_makes_a_record_of_1024_bytes_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "x")),
        po(entry("S_A", "x", "ü" * 510)),
        "de.po:4: S_A: key and text make a record of 1024 bytes; the launcher reads 1023",
    )


def test_every_problem_of_a_file_is_reported_in_one_run(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "%y"), entry("S_B", "x"), entry("S_C", "")),
        'cons.pot:4: S_A: the launcher cannot fill in the directive that begins at "%y"',
        "cons.pot:12: S_C: the text is empty",
    )


# ---- translations


def test_a_key_that_the_translation_lacks_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "x"), entry("S_B", "y")),
        po(entry("S_A", "x", "ix")),
        f"de.po:6: S_B: the key is missing; {compiler.directory}/cons.pot:8 has it",
    )


def test_a_key_that_the_template_lacks_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "x")),
        po(entry("S_A", "x", "ix"), entry("S_B", "y", "üpsilon")),
        "de.po:8: S_B: the template does not have this key",
    )


def test_an_entry_that_is_not_translated_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "x")), po(entry("S_A", "x")), "de.po:4: S_A: the text is not translated"
    )


@pytest.mark.parametrize("which", ["template", "translation"])
def test_a_fuzzy_entry_is_refused(compiler, which):
    fuzzy = HEADER + "\n#, fuzzy" + entry("S_A", "x", "" if which == "template" else "y")
    report = "5: S_A: the entry is marked fuzzy"
    if which == "template":
        compiler.template_is_refused(fuzzy, f"cons.pot:{report}")
    else:
        compiler.translation_is_refused(po(entry("S_A", "x")), fuzzy, f"de.po:{report}")


@pytest.mark.parametrize("which", ["template", "translation"])
def test_an_obsolete_entry_is_refused(compiler, which):
    obsolete = '\n#~ msgctxt "S_B"\n#~ msgid "y"\n#~ msgstr "z"\n'
    report = "8: S_B: the entry is obsolete"
    if which == "template":
        compiler.template_is_refused(po(entry("S_A", "x"), obsolete), f"cons.pot:{report}")
    else:
        compiler.translation_is_refused(
            po(entry("S_A", "x")), po(entry("S_A", "x", "z"), obsolete), f"de.po:{report}"
        )


def test_a_translation_of_an_earlier_english_text_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "new")),
        po(entry("S_A", "old", "alt")),
        "de.po:4: S_A: the English text is not that of the template",
    )


@pytest.mark.parametrize(
    "english, translated",
    [("x", "y\\n"), ("x\\n", "y"), ("\\nx", "y"), ("x", "\\ny"), ("\\nx\\n", "\\ny")],
)
def test_a_translation_that_breaks_lines_elsewhere_is_refused(compiler, english, translated):
    compiler.translation_is_refused(
        po(entry("S_A", english)),
        po(entry("S_A", english, translated)),
        "de.po:4: S_A: the translation and the English text do not both begin, or do not both "
        "end, with a line end",
    )


def test_a_broken_template_is_refused_before_the_translation_is_compared(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "%y")),
        po(entry("S_B", "%y", "z")),
        'cons.pot:4: S_A: the launcher cannot fill in the directive that begins at "%y"',
    )


# ---- placeholders


@pytest.mark.parametrize(
    "text",
    [
        "%d %i %u %x %c %s %f",
        "%-5d %+d % d %#x %05d %-+ #012.3f",
        "%.3s %10.4s %.s %5.f",
        "%hhd %hd %ld %lld %jd %zu %td %Lf",
        "%1$s %2$d %3$lld",
        "%2$s %1$d",
        "%1$s %1$s",
        "%2$-8.3s %1$05d",
        "%s%%%%",
    ],
)
def test_every_directive_that_the_launcher_fills_in_is_accepted(compiler, text):
    assert compiler.compiled(po(entry("S_A", text))) == f"S_A={text}\0".encode()


@pytest.mark.parametrize(
    "directive",
    ["%y", "%n", "%p", "%S", "%E", "%*d", "%.*s", "%1$*2$d", "%5%", "%'d", "%hhhd", "%lhd", "%qd",
     "%I64d", "%0$d", "%100$d", "%99999999999999999999999$d", "%$d", "%", "% ", "%5", "%l", "%("],
)  # fmt: skip
def test_a_directive_that_the_launcher_does_not_know_is_refused(compiler, directive):
    compiler.template_is_refused(
        po(entry("S_A", f"x {directive}")),
        "cons.pot:4: S_A: the launcher cannot fill in the directive that begins at "
        f'"{directive[:8]}"',
    )


def test_a_translation_with_a_directive_that_the_launcher_does_not_know_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "%s gone")),
        po(entry("S_A", "%s gone", "%s und %y weg")),
        'de.po:4: S_A: the launcher cannot fill in the directive that begins at "%y weg"',
    )


@pytest.mark.parametrize("text", ["%s %2$s", "%1$s %s", "%1$s %2$s %d"])
def test_directives_with_and_without_a_position_are_not_mixed(compiler, text):
    compiler.template_is_refused(
        po(entry("S_A", text)),
        "cons.pot:4: S_A: directives with a position and directives without one are mixed",
    )


def test_positions_that_leave_out_an_argument_are_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "%1$s %3$s")),
        "cons.pot:4: S_A: the positions of the directives leave out an argument",
    )


def test_an_argument_that_is_used_as_two_types_is_refused(compiler):
    compiler.template_is_refused(
        po(entry("S_A", "%1$s %1$05d")),
        'cons.pot:4: S_A: argument 1 is used as two types, "%1$05d" being the second',
    )


@pytest.mark.parametrize(
    "english, translated",
    [
        ("%s has %d", "%s hat %d"),
        ("%s has %d", "%2$d in %1$s"),
        ("%s has %d", "%1$s (%1$s) hat %2$d"),
        ("%2$s has %1$d", "%d in %s"),
        ("%d %x %f", "%-5i %#u %.2f"),
        ("%lld", "%1$lli"),
        ("no argument", "kein Argument"),
    ],
)
def test_a_translation_with_the_same_arguments_is_accepted(compiler, english, translated):
    catalogue = compiler.compiled(
        po(entry("S_A", english)), po(entry("S_A", english, translated))
    )
    assert catalogue == f"S_A={translated}\0".encode()


@pytest.mark.parametrize(
    "english, translated, found, wanted",
    [("%s", "weg", 0, 1), ("gone", "%s weg", 1, 0), ("%s %s", "%s", 1, 2),
     ("%s", "%s %s", 2, 1), ("%s %s", "%1$s %1$s", 1, 2), ("%s", "%1$s %2$s", 2, 1)],
)  # fmt: skip
def test_a_translation_with_another_number_of_placeholders_is_refused(
    compiler, english, translated, found, wanted
):
    compiler.translation_is_refused(
        po(entry("S_A", english)),
        po(entry("S_A", english, translated)),
        f"de.po:4: S_A: the translation has {found} placeholders and the English text {wanted}",
    )


@pytest.mark.parametrize(
    "english, translated, position, found, wanted",
    [("%s", "%d", 1, "d", "s"), ("%s %d", "%d %s", 1, "d", "s"),
     ("%s %d", "%1$s %2$s", 2, "s", "d"), ("%s %d", "%2$s %1$d", 1, "d", "s"),
     ("%d", "%u", 1, "u", "d"), ("%d", "%lld", 1, "lld", "d"), ("%ld", "%d", 1, "d", "ld"),
     ("%c", "%s", 1, "s", "c"), ("%f", "%d", 1, "d", "f")],
)  # fmt: skip
def test_a_translation_with_placeholders_of_another_type_or_order_is_refused(
    compiler, english, translated, position, found, wanted
):
    compiler.translation_is_refused(
        po(entry("S_A", english)),
        po(entry("S_A", english, translated)),
        f'de.po:4: S_A: placeholder {position} is of type "{found}" in the translation and of '
        f'type "{wanted}" in the English text',
    )


# ---- literal percent signs


@pytest.mark.parametrize("text", ["100%% done", "%%", "%%%%", "%%d", "50%%"])
def test_a_doubled_percent_sign_in_a_text_without_arguments_is_accepted(compiler, text):
    assert compiler.compiled(po(entry("S_A", text))) == f"S_A={text}\0".encode()


@pytest.mark.parametrize(
    "text", ["%d%%%% done", "%%%% of %s", "%s%%%%%%%%d", "%1$d%%%% of %2$s", "%%%%%d"]
)
def test_a_percent_sign_written_four_times_in_a_text_with_arguments_is_accepted(compiler, text):
    assert compiler.compiled(po(entry("S_A", text))) == f"S_A={text}\0".encode()


@pytest.mark.parametrize(
    "text",
    ["%d%% done", "%d%%", "%%%d", "%% of %s", "%s%%%%%%d", "%1$d%% of %2$s", "%s %%%%%%"],
)
def test_a_percent_sign_that_the_second_processing_would_swallow_is_refused(compiler, text):
    compiler.template_is_refused(
        po(entry("S_A", text)),
        'cons.pot:4: S_A: a percent sign in a text with arguments is written "%%%%"',
    )


def test_a_translation_whose_percent_sign_would_be_swallowed_is_refused(compiler):
    compiler.translation_is_refused(
        po(entry("S_A", "%d%%%% done")),
        po(entry("S_A", "%d%%%% done", "%d %% fertig")),
        'de.po:4: S_A: a percent sign in a text with arguments is written "%%%%"',
    )


# ---- the launcher's own texts


@pytest.fixture
def english_texts(compiler):
    source = pathlib.Path(__file__).parents[2] / "resource" / "cons.pot"
    catalogue = compiler.compiled(source.read_bytes()).decode("utf-8")
    return dict(record.split("=", 1) for record in catalogue.split("\0")[:-1])


def test_the_english_texts_of_the_launcher_leave_room_for_longer_translations(english_texts):
    assert {key for key, text in english_texts.items() if len(text.encode()) >= 900} == set()


def test_the_english_texts_of_the_launcher_have_no_literal_percent_sign(english_texts):
    assert {key for key, text in english_texts.items() if "%%" in text} == set()


def test_every_question_of_the_launcher_ends_with_a_blank(english_texts):
    questions = {k: v for k, v in english_texts.items() if k.startswith("S_SPECIFY_")}
    questions["S_CONTINUE"] = english_texts["S_CONTINUE"]
    assert len(questions) == 7
    assert {key for key, text in questions.items() if not text.endswith(": ")} == set()
    assert "(y = yes, n = no) [n]" in english_texts["S_CONTINUE"]
