"""The keys that the launcher's code uses, held against the template of the
catalogues, in both directions."""

import ast
import glob
import os
import re

import pytest

from harness import assert_same, read_file

TOP = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../..")
SOURCES = sorted(glob.glob(TOP + "/c/**/*.cpp", recursive=True)
                 + glob.glob(TOP + "/c/**/*.h", recursive=True))
TEMPLATE = TOP + "/resource/cons.pot"

TOKEN = re.compile(r"""(?P<comment>//[^\n]*|/\*.*?\*/)
                      |(?P<text>"(?:[^"\\\n]|\\.)*")
                      |(?P<character>(?<![0-9A-Fa-f])'(?:[^'\\\n]|\\.)+')
                      |(?P<word>[A-Za-z_]\w*)
                      |(?P<other>\S)""", re.DOTALL | re.VERBOSE)
KEY = re.compile(r"S_[A-Z0-9_]+")
ENTRY = re.compile(r'^msgctxt "(.*)"\nmsgid ((?:".*"\n)+)', re.MULTILINE)
PLACEHOLDER = re.compile(r"%(?:%|(?:(\d+)\$)?[^a-zA-Z%]*[a-zA-Z])")

# Keys of the catalogue that nothing shows, with a comment that says why.
UNUSED = {"S_CONTINUE_YES"}

# Calls that fill the text of a key with what follows the key.
FILLING = {"show", "record", "report", "complain", "complain_errno", "fail",
           "localised_text", "english_text", "record_localised"}
# Calls that give more than the text shows.
GENEROUS = {"S_TEST_AUTO_UPDATES"}


def tokens(path):
    text = read_file(path).decode()
    return [(match.lastgroup, match.group()) for match in TOKEN.finditer(text)]


def code():
    """All tokens of the sources without the comments; "" between two files."""
    found = []
    for path in SOURCES:
        found += [token for token in tokens(path) if token[0] != "comment"] + [("other", "")]
    return found


def template():
    """{key: English text} of the template."""
    entries = ENTRY.findall(read_file(TEMPLATE).decode())
    texts = {key: "".join(ast.literal_eval(line) for line in lines.splitlines())
             for key, lines in entries}
    assert len(texts) == len(entries), "a key is repeated"
    return texts


def used_keys():
    return {ast.literal_eval(value) for kind, value in code()
            if kind == "text" and KEY.fullmatch(value[1:-1])}


def placeholders(text):
    """How many arguments a text asks for."""
    matches = [match for match in PLACEHOLDER.finditer(text) if match.group() != "%%"]
    return max([len(matches), *(int(match.group(1)) for match in matches if match.group(1))])


def argument_count(values):
    """How many arguments follow a key, up to the end of its call; those in
    braces after a key count as they would without."""
    depth, count, empty = 0, 0, True
    for value in values:
        if value in ("(", "{", "["):
            depth += value != "{" or depth > 0
        elif value in (")", "}", "]"):
            if depth == 0:
                break
            depth -= 1
        elif value == "," and depth == 0:
            count += not empty
            empty = True
            continue
        empty = empty and value == "{" and depth == 0
    return count + (not empty)


def filling_calls():
    """(key, number of arguments) of every call that names its key."""
    everything = code()
    values = [value for _, value in everything]
    for at in range(2, len(everything)):
        kind, value = everything[at]
        if (kind == "text" and KEY.fullmatch(value[1:-1]) and values[at - 1] == "("
                and values[at - 2] in FILLING):
            yield value[1:-1], argument_count(values[at + 1:at + 400])


def test_the_sources_and_the_template_are_found():
    assert any(path.endswith("/c/setupLauncher/launch.cpp") for path in SOURCES)
    assert "S_STARTINSTALLERMSG" in used_keys() & template().keys()


def test_every_key_of_the_code_is_in_the_template():
    assert_same(sorted(used_keys() - template().keys()), [])


def test_every_key_of_the_template_is_in_the_code():
    assert_same(sorted(template().keys() - used_keys()), sorted(UNUSED))


def test_a_key_that_nothing_shows_is_explained_in_a_comment():
    comments = " ".join(value for path in SOURCES for kind, value in tokens(path)
                        if kind == "comment")
    assert UNUSED <= set(KEY.findall(comments))


def test_comments_name_no_other_key_than_those_of_the_template():
    for path in SOURCES:
        for kind, value in tokens(path):
            if kind == "comment":
                assert set(KEY.findall(value)) <= template().keys(), path


def test_no_key_is_put_together_from_pieces():
    pieces = [value for kind, value in code() if kind == "text" and value.startswith('"S_')
              and not KEY.fullmatch(value[1:-1])]
    assert pieces == []
    values = [value for _, value in code()]
    for at, value in enumerate(values):
        if KEY.fullmatch(value[1:-1]) and value[0] == '"':
            assert values[at + 1] not in ("+", ".") and not values[at + 1].startswith('"'), value


def test_every_call_gives_the_arguments_that_the_text_shows():
    texts = template()
    calls = list(filling_calls())
    wrong = [f"{key}: {count} given, {placeholders(texts[key])} shown" for key, count in calls
             if count != placeholders(texts[key]) and key not in GENEROUS]
    assert_same(wrong, [])
    assert {key for key, count in calls if count > placeholders(texts[key])} == GENEROUS
    assert len({key for key, count in calls if count}) > 40


@pytest.mark.parametrize("call, count", [
    (')', 0), (', a)', 1), (', a, b(c, d)) + e(f, g)', 2), (', {a, b})', 2), (', {a.b(c, {d, e})})', 1),
    (', {})', 0), (', a[b, c], d)', 2),
])
def test_arguments_are_counted_as_the_compiler_would(call, count):
    assert argument_count([match.group() for match in TOKEN.finditer(call)]) == count
