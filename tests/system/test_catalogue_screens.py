"""The screens on which several messages stand together, in every language on a
terminal of 80 columns: what is indented or asked must not wrap."""

import re

import pytest

from harness import assert_same
from screens import (COLUMNS, LOCALES, NO_DISPLAY, SITUATIONS, Operator, all_screens, show, width,
                     wrapped)

QUESTIONS = ("S_CONTINUE",)

# Texts that no situation shows, by the reason.
NOT_IN_THE_SCREENS = {
    "only the install log has it": {
        "S_ERTALPARAMNFD_LOC", "S_EXECVP_ARGS", "S_EXECVP_RET", "S_FORK_RET",
        "S_NUMBER_OF_FILES_BOOTSTRAPPED", "S_TEST_AUTO_UPDATES", "S_UMASK_NOT_AVAILABLE",
        "S_UMASK_VALID", "S_UNZIP_COMMANDLINE", "S_USING_PARAMFILE", "S_ZUL"},
    "nothing shows it": {"S_CONTINUE_YES"},
    "only the super-user sees it, and nothing else beside it": {"S_ERPERROT"},
    "only where S_FAILED_PATCHES_1 does not name the log": {"S_IGNORE_PATCH_SYS_PREREQ"},
    "only in a directory from which not even . and .. can be read": {"S_ERFINDFILE"},
    "only when the temporary directory goes during the checks": {"S_ERROR64RET"},
    "only when the way to the Java program goes after the launch has looked for it": {
        "S_START_CLOSED", "S_START_OBSTACLE"},
    "only a program without a directory, which the Java program always has": {
        "S_START_NOT_FOUND"},
}


def too_wide(title, screen, questions):
    """The lines that must fit and do not. A line that takes the last column wraps
    on some terminals."""
    return [f"{title}: {width(line)} columns: {line}" for line in screen.split("\n")
            if width(line) >= COLUMNS and (title == NO_DISPLAY or line.startswith(" ")
                                           or line.startswith(questions))]


@pytest.mark.parametrize("language", LOCALES)
def test_no_indented_block_and_no_question_wraps(language, clean_root):
    operator = Operator(language)
    questions = tuple(operator.texts[key].rpartition("\n")[2] for key in QUESTIONS)
    wide = []
    shown = ""
    for title, screen in all_screens(operator, clean_root):
        show(title, screen)
        shown += screen
        wide += too_wide(title, screen, questions)
    assert wide == []
    assert all(question in shown for question in questions)


class KeyReader(Operator):
    """Somebody whose catalogues name the keys in place of the texts."""

    def __init__(self):
        super().__init__("en")
        self.texts = {key: f"[en {key}" for key in self.texts}

    @staticmethod
    def use_catalogues(place):
        place.use_marked_catalogues()


def test_every_text_that_a_screen_can_have_stands_in_some_screen(clean_root):
    reader = KeyReader()
    screens = "".join(screen for _, screen in all_screens(reader, clean_root))
    unseen = set(reader.texts) - set(re.findall(r"\[en (S_\w+)", screens))
    assert_same("\n".join(sorted(unseen)),
                "\n".join(sorted(set().union(*NOT_IN_THE_SCREENS.values()))))


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
