"""The screens on which several messages stand together, in every language on a
terminal of 80 columns: what is indented or asked must not wrap."""

import pytest

from screens import (COLUMNS, LOCALES, NO_DISPLAY, SITUATIONS, Operator, all_screens, show, width,
                     wrapped)

QUESTIONS = ("S_CONTINUE",)


def too_wide(title, screen, questions):
    """The lines that must fit and do not. A line that takes the last column wraps
    on some terminals."""
    return [f"{title}: {width(line)} columns: {line}" for line in screen.split("\n")
            if width(line) >= COLUMNS and (title == NO_DISPLAY or line.startswith(" ")
                                           or line.startswith(questions))]


@pytest.mark.parametrize("language", LOCALES)
def test_no_indented_block_and_no_question_wraps(language, clean_root):
    questions = tuple(Operator(language).texts[key].rpartition("\n")[2] for key in QUESTIONS)
    wide = []
    shown = ""
    for title, screen in all_screens(language, clean_root):
        show(title, screen)
        shown += screen
        wide += too_wide(title, screen, questions)
    assert wide == []
    assert all(question in shown for question in questions)


def test_every_situation_has_a_title_of_its_own():
    titles = [title for title, _ in SITUATIONS]
    assert len(set(titles)) == len(titles)


@pytest.mark.parametrize("line, lines", [
    ("x" * 80, ["x" * 80]),
    ("x" * 81, ["x" * 80, "x"]),
    ("語" * 40, ["語" * 40]),
    ("語" * 41, ["語" * 40, "語"]),
    ("x" + "語" * 40, ["x" + "語" * 39, "語"]),
    ("", [""]),
], ids=["full", "one too many", "full of wide characters", "one wide character too many",
        "a wide character at the edge", "empty"])
def test_a_terminal_breaks_lines_at_its_columns(line, lines):
    assert wrapped(line) == lines


@pytest.mark.parametrize("title, line, wraps", [
    ("a", "  " + "x" * 77, False),
    ("a", "  " + "x" * 78, True),
    ("a", "  " + "語" * 39, True),
    ("a", "x" * 80, False),
    (NO_DISPLAY, "x" * 80, True),
    ("a", "Go on? " + "x" * 73, True),
])
def test_the_lines_that_must_fit_are_the_indented_ones_the_questions_and_those_about_the_display(
        title, line, wraps):
    assert bool(too_wide(title, f"before\n{line}\nbehind", ("Go on? ",))) == wraps
