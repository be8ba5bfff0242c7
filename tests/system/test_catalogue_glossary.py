"""Every text in every language, held against docs/texts.md: the words that it
asks for and those that it rules out, and how a text ends when something
follows. A complaint names the key, the language and the word."""

import os
import re

import pytest

from harness import assert_same, read_catalogue, read_file, tool
from test_catalogue_keys import code

PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../docs/texts.md")
SECTION = re.compile(r"^### (\w+): .*$", re.MULTILINE)
ROW = re.compile(r"^\| *(.*?) *\| *(.*?) *\| *(.*?) *\|$", re.MULTILINE)

# Written without blanks between words.
UNSPACED = ("ja", "ko", "zh_CN", "zh_TW")

# Characters that S_ERRINVCHARINPATH lists.
LISTED_CHARACTERS = '" * : < > ? |'

# The next line on the screen is a command, which these announce.
BEFORE_A_COMMAND = ("S_ERPERDSP_3", "S_ERPERDSP_5", "S_ERPERDSP_8", "S_ERPERDSP_13")


# ---- the page and the texts -----------------------------------------------

def tables(page):
    """{language: [(English term, [words to write], [words not to write])]}"""
    pieces = SECTION.split(page)[1:]
    found = {}
    for language, piece in zip(pieces[::2], pieces[1::2]):
        rows = [row for row in ROW.findall(piece) if row[0] != "term" and "---" not in row[0]]
        found[language] = [(term, [word for word in write.split(" / ") if word],
                            [word for word in avoided.split(", ") if word])
                           for term, write, avoided in rows]
    return found


GLOSSARY = tables(read_file(PAGE).decode())
LANGUAGES = sorted(GLOSSARY)


def shipped(language):
    suffix = "" if language == "en" else "_" + language
    return read_catalogue(f"{tool('CATALOGUES')}/cons{suffix}.nls")


def translated(language):
    """(key, English text, text) of what is not the same in English, as the
    name of the product and commands are; for English, of everything."""
    english = shipped("en")
    return [(key, english[key], text) for key, text in shipped(language).items()
            if language == "en" or text != english[key]]


# ---- words ----------------------------------------------------------------

def has_word(text, word, language):
    """Whether a text has exactly this word; in languages without blanks also
    inside of others."""
    if language in UNSPACED:
        return word in text
    return re.search(rf"(?<![\w-]){re.escape(word)}(?![\w-])", text, re.IGNORECASE) is not None


def has_term(text, term, language):
    """Whether a text has a word in any of its forms, in a compound too."""
    if language in UNSPACED:
        return term in text
    stems = [re.escape(word[:-1] if len(word) > 4 else word) for word in term.split(" ")]
    return re.search(r"\w*\s+".join(stems), text, re.IGNORECASE) is not None


def english_has(text, term):
    """Whether an English text speaks of what the term names."""
    forms = re.escape(term[1:-1]) + ("(?:y|ies)" if term[-1] == "y" else term[-1] + "s?")
    behind = "(?! environment)" if term == "Java runtime" else ""
    return re.search(rf"\b[{term[0].upper()}{term[0]}]{forms}\b{behind}", text) is not None


def avoided_words(language, text):
    return [word for _, _, avoided in GLOSSARY[language] for word in avoided
            if has_word(text, word, language)]


def missing_terms(language, english, text):
    return [words for term, words, _ in GLOSSARY[language]
            if term and english_has(english, term)
            and not any(has_term(text, word, language) for word in words)]


@pytest.mark.parametrize("language", LANGUAGES)
def test_no_text_has_a_word_that_its_language_avoids(language):
    wrong = [f"{language} {key}: not {word!r}: {text!r}" for key, _, text in translated(language)
             for word in avoided_words(language, text)]
    assert_same("\n".join(wrong), "")


@pytest.mark.parametrize("language", LANGUAGES)
def test_a_text_has_the_words_for_the_terms_of_its_english(language):
    wrong = [f"{language} {key}: no {' or '.join(words)!r}: {text!r}"
             for key, english, text in translated(language)
             for words in missing_terms(language, english, text)]
    assert_same("\n".join(wrong), "")


@pytest.mark.parametrize("language", LANGUAGES)
def test_every_word_of_the_page_is_in_use(language):
    texts = shipped(language).values()
    unused = [word for _, words, _ in GLOSSARY[language] for word in words
              if not any(has_term(text, word, language) for text in texts)]
    assert_same(unused, [])


def test_the_page_has_every_language_and_the_same_terms():
    directory = os.path.join(os.path.dirname(PAGE), "../resource")
    catalogues = [name[:-3] for name in os.listdir(directory) if name.endswith(".po")]
    assert_same(LANGUAGES, sorted(catalogues + ["en"]))
    terms = {"launcher", "installer", "installation media", "installed home", "scratch directory",
             "temporary directory", "inventory", "prerequisite", "patch", "package", "swap space",
             "Java runtime", "parameter file", "install log", "command line"}
    for language, rows in GLOSSARY.items():
        assert terms <= {term for term, words, _ in rows if words}, language


# ---- ends and marks -------------------------------------------------------

def keys_before_a_reason():
    values = [value for _, value in code()]
    return sorted({values[at + 2][1:-1] for at in range(len(values) - 2)
                   if values[at] == "complain_errno" and values[at + 2].startswith('"')})


def end_problem(text):
    """What is wrong with a text behind which ": " and a reason are put."""
    if not re.search(r"[\w)]\Z", text):
        return "ends in a mark or a blank"
    last = re.split(r"[.。] *", text)[-1]
    if "%" not in last:
        return "names elsewhere what the reason is about"
    return "has a colon before that of the reason" if ":" in last else ""


def mark_problem(language, text):
    """What is wrong with the blanks before the marks of a text."""
    text = text.replace(LISTED_CHARACTERS, "")
    if "…" in text:
        return "three dots in one character"
    if language == "ko" and re.search(r"[^\s?] \(", text):
        return "the blank before a parenthesis"
    if re.search(r"\S\.\.\." if language == "de" else r"\s\.\.\.", text):
        return "the blank before three dots"
    before = r"\S" if language == "fr" else r"\s"
    found = re.search(before + r"[:;?!](?=\s|$)", text)
    return f"the blank before {found.group()[1:]!r}" if found else ""


def particles_of_options(text):
    """Names of options with a Korean letter right behind."""
    return re.findall(r"(?<!\w)-[A-Za-z]+[가-힣]+", text)


def likeness_problem(key, language, english, text):
    """What differs in the end of a translation from that of the English text."""
    if english.endswith(": ") and not text.endswith(": "):
        return "does not end in a colon and a blank"
    if english.endswith(" ") != text.endswith(" "):
        return "ends with or without a blank unlike the English text"
    full_stop = english.rstrip("\n").endswith(".")
    if full_stop != text.rstrip("\n").endswith((".", "。")) and not (
            key in BEFORE_A_COMMAND and language in ("ja", "ko")):
        return "ends with or without a full stop unlike the English text"
    values = [len(re.findall(r": %s$", each, re.MULTILINE)) for each in (english, text)]
    return "" if values[0] == values[1] else "a value at the end of a line does not follow a colon"


@pytest.mark.parametrize("language", LANGUAGES)
def test_a_text_before_a_reason_ends_in_the_clause_that_the_reason_explains(language):
    texts = shipped(language)
    wrong = [f"{language} {key}: {end_problem(texts[key])}: {texts[key]!r}"
             for key in keys_before_a_reason() if end_problem(texts[key])]
    assert_same("\n".join(wrong), "")
    assert {"S_ERPARAMFILE_READ", "S_ERPERM_1", "S_ERROR64RET"} <= set(keys_before_a_reason())


@pytest.mark.parametrize("language", LANGUAGES)
def test_blanks_before_marks_are_those_of_the_language(language):
    wrong = [f"{language} {key}: {mark_problem(language, text)}: {text!r}"
             for key, _, text in translated(language) if mark_problem(language, text)]
    assert_same("\n".join(wrong), "")


def test_a_korean_particle_follows_no_name_of_an_option():
    wrong = [f"{key}: {found!r}" for key, text in shipped("ko").items()
             for found in particles_of_options(text)]
    assert_same("\n".join(wrong), "")


@pytest.mark.parametrize("language", LANGUAGES)
def test_a_translation_ends_like_the_english_text(language):
    wrong = [f"{language} {key}: {likeness_problem(key, language, english, text)}: {text!r}"
             for key, english, text in translated(language)
             if likeness_problem(key, language, english, text)]
    assert_same("\n".join(wrong), "")


@pytest.mark.parametrize("language", LANGUAGES)
def test_a_command_on_the_next_line_is_announced(language):
    marks = ":", *(["。", "."] if language in ("ja", "ko") else [])
    texts = shipped(language)
    wrong = [f"{language} {key}: {texts[key]!r}" for key in BEFORE_A_COMMAND
             if not texts[key].endswith(tuple(mark + "\n" for mark in marks))]
    assert_same("\n".join(wrong), "")


# ---- that all this is found -----------------------------------------------

@pytest.mark.parametrize("language, text, words", [
    ("de", "Der Launcher fehlt.", ["Launcher"]),
    ("de", "Der Launcherstart fehlt.", []),
    ("pt_BR", "O pré-requisito falta.", []),
    ("pt_BR", "O requisito falta.", ["requisito"]),
    ("zh_CN", "使用缺省值。", ["缺省"]),
    ("ko", "-jreLoc로 지정하십시오.", ["-jreLoc로"]),
    ("en", "You may not use it. The demand is high.", ["demand", "may not"]),
])
def test_an_avoided_word_is_found(language, text, words):
    assert avoided_words(language, text) == words


@pytest.mark.parametrize("language, english, text, words", [
    ("fr", "The scratch directories.", "Les répertoires de travail temporaires.", []),
    ("fr", "The scratch directories.", "Les répertoires.", ["répertoire de travail temporaire"]),
    ("de", "Another inventory pointer file.", "Eine andere Inventarzeigerdatei.", []),
    ("zh_CN", "A Java runtime.", "一个 Java 程序。", ["Java 运行时"]),
    ("zh_CN", "A Java runtime environment (JRE).", "一个 Java Runtime Environment。", []),
    ("pt_BR", "Ask for permissions.", "Solicite permissões.", []),
    ("es", "Start the launcher.", "Inicie el programa.", ["programa de inicio"]),
])
def test_a_missing_term_is_found(language, english, text, words):
    assert [word for found in missing_terms(language, english, text) for word in found] == words


@pytest.mark.parametrize("text, problem", [
    ("Cannot open %s", ""),
    ("Cannot open %s.", "ends in a mark or a blank"),
    ("Cannot open %s: ", "ends in a mark or a blank"),
    ("Cannot open %s\n", "ends in a mark or a blank"),
    ("Cannot open %s. All is lost", "names elsewhere what the reason is about"),
    ("Impossible d'ouvrir : %s", "has a colon before that of the reason"),
    ("%s を開けません。終わります", "names elsewhere what the reason is about"),
])
def test_a_wrong_end_before_a_reason_is_found(text, problem):
    assert end_problem(text) == problem


@pytest.mark.parametrize("language, text, problem", [
    ("en", "Checking...", ""), ("en", "Checking ...", "the blank before three dots"),
    ("de", "Wird geprüft ...", ""), ("de", "Wird geprüft...", "the blank before three dots"),
    ("ja", "確認…", "three dots in one character"),
    ("fr", "Fichier : %s", ""), ("fr", "Fichier: %s", "the blank before ':'"),
    ("fr", "Oui?", "the blank before '?'"), ("fr", "http://x", ""),
    ("es", "Archivo : %s", "the blank before ':'"), ("es", "Archivo: %s", ""),
    ("en", 'One of " * : < > ? |, at ten: yes', ""), ("en", "Signal %s (%d)", ""),
    ("ko", "신호 %s (%d)", "the blank before a parenthesis"), ("ko", "신호 %s(%d)", ""),
])
def test_a_wrong_blank_before_a_mark_is_found(language, text, problem):
    assert mark_problem(language, text) == problem


@pytest.mark.parametrize("text, found", [
    ("-paramFile로 기존 파일을", ["-paramFile로"]), ("-paramFile 옵션으로 기존 파일을", []),
    ("-jreLoc 또는 -invPtrLoc와 다른", ["-invPtrLoc와"]), ("Control-D를 누르십시오", []),
])
def test_a_particle_behind_the_name_of_an_option_is_found(text, found):
    assert particles_of_options(text) == found


@pytest.mark.parametrize("english, text, problem", [
    ("Name: ", "Name: ", ""), ("Name: ", "Name:", "does not end in a colon and a blank"),
    (": found ", ": trovata ", ""),
    ("found", "trovata ", "ends with or without a blank unlike the English text"),
    ("Done.\n", "Fatto.\n", ""),
    ("Done.\n", "Fatto\n", "ends with or without a full stop unlike the English text"),
    ("Done", "完了。", "ends with or without a full stop unlike the English text"),
    ("Log: %s\nBye.", "Log: %s\nCiao.", ""),
    ("Log: %s\nBye.", "Log %s\nCiao.", "a value at the end of a line does not follow a colon"),
])
def test_an_end_unlike_the_english_one_is_found(english, text, problem):
    assert likeness_problem("S_X", "it", english, text) == problem
