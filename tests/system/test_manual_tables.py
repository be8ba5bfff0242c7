"""The manual pages against the launcher's own tables, in both directions: what an operator can say,
set or meet is in the pages, and what the pages name is in the launcher."""

import re
import subprocess

import pytest

import code_tables as code
import manual

LAUNCHER = "setupLauncher.1"
PARAMETERS = "talparam.ini.5"
CATALOGUES = "cons.nls.5"
STAGE = "installation-stage.5"
UNZIP = "stage-unzip.1"
CHECKER = "check-stage.1"
BUILDER = "build-stage.1"

SOURCES = code.load()
PAGES = manual.load()


# ---- comparing -------------------------------------------------------------

def differences(page, what, explained, path, known):
    """What only one side has. `explained` is {name: Line}."""
    return ([f"{explained[name].place}: {what} {name} is not in {path}"
             for name in explained if name not in known] +
            [f"{page}: {what} {name} of {path} is missing"
             for name in sorted(known) if name not in explained])


def in_order(what, explained, path, known):
    """Where the page's [(name, Line)] first leaves the order of the code."""
    for (name, line), wanted in zip(explained, known):
        if name != wanted:
            return [f"{line.place}: {what} {name} stands where {path} has {wanted}"]
    return []


def wrong_values(what, explained, known):
    """`explained` is {name: (Line, value)}."""
    return [f"{line.place}: {what} {name} is {value!r}, the code has {known[name]!r}"
            for name, (line, value) in explained.items() if name in known and value != known[name]]


# ---- subjects: each gives its complaints -----------------------------------

def option_items(page, *headings):
    lines = [line for heading in headings for line in manual.items(page.part(heading))]
    return {"-" + name: line for name, line in manual.named(lines, "Fl").items()}


def options(pages, sources):
    page = pages[LAUNCHER]
    lines = page.part("Precedence")
    lines = lines[max(at for at, line in enumerate(lines) if line.macro == "Pp"):]
    order = {"-" + name: line for name, line in manual.arguments(lines, "Fl").items()}
    order.update(manual.arguments(lines, "Ic"))
    order = {name.upper(): line for name, line in
             sorted(order.items(), key=lambda item: item[1].number)}
    table = [option.text for option in code.options(sources)]
    complaints = differences(page.name, "the option", order, code.OPTIONS, table)
    return complaints or in_order("the option", list(order.items()), code.OPTIONS, table)


def explained_options(pages, sources):
    page = pages[LAUNCHER]
    explained = option_items(page, "OPTIONS")
    between = manual.arguments(page.part("Between a parent launcher and its child"), "Fl")
    explained.update({"-" + name: line for name, line in between.items()})
    spelt = code.spelt_options(sources)
    known = [option.text for option in code.options(sources) if option.text.startswith("-")]
    known += [*code.folded_options(sources), *(name.upper() for name in spelt)]
    complaints = differences(page.name, "the option", {name.upper(): line for name, line in
                                                       explained.items()}, code.OPTIONS, set(known))
    for name, line in explained.items():
        wanted = next((text for text in spelt if text.upper() == name.upper()), name)
        if name != wanted:
            complaints.append(f"{line.place}: the option {name} is spelt {wanted}")
    return complaints


def session_variables(pages, sources):
    page = pages[LAUNCHER]
    explained = manual.named(manual.items(page.part("Session variables")), "Ic")
    known = [option.text for option in code.options(sources) if not option.text.startswith("-")]
    return differences(page.name, "the session variable", explained, code.OPTIONS, known)


def entry_classes(pages, sources):
    page = pages[LAUNCHER]
    lines = page.part("Commands")
    rows = {cells[0].removeprefix("Fl ").upper(): (line, cells[1:]) for line, cells in manual.table(lines)}
    rows = {"-" + name: row for name, row in rows.items()}
    known = {command.option: command for command in code.commands(sources)}
    complaints = differences(page.name, "the command", {name: row[0] for name, row in rows.items()},
                             code.OPTIONS, known)
    for column, value in enumerate((
            lambda command: command.class_name.rpartition(".")[2],
            lambda command: command.log, lambda command: command.rules)):
        complaints += wrong_values("the command", {name: (line, cells[column])
                                                   for name, (line, cells) in rows.items()},
                                   {name: value(command) for name, command in known.items()})
    text = " ".join(line.text for line in lines)
    for command in known.values():
        package = command.class_name.rpartition(".")[0]
        if package != "talvex.admkit.kst.kstc" and command.class_name not in text:
            complaints.append(f"{page.name}: the class {command.class_name} of {code.OPTIONS} is missing")
    return complaints or in_order("the command", [(name, row[0]) for name, row in rows.items()],
                                  code.OPTIONS, list(known))


def kind_of(line):
    """What the head of a key's item calls its value, as far as it is a flag."""
    value = " ".join(line.words).partition(" = Ns Ar ")[2].partition(" Pq ")[0]
    return value if value in ("flag", "strict flag") else "other"


def keys(pages, sources):
    page = pages[PARAMETERS]
    explained = manual.named(manual.items(page.part("KEYS OF THE SECTION Talvex")), "Ic")
    explained = {name: line for name, line in explained.items() if line.words[1] == name}
    known = code.keys(sources)
    kinds = {name: (line, kind_of(line)) for name, line in explained.items()}
    return (differences(page.name, "the key", explained, code.SETTINGS, known) +
            wrong_values("the default of", {name: (line, manual.default_of(line))
                                            for name, line in explained.items()},
                         {name: key.default for name, key in known.items()}) +
            wrong_values("the value of", kinds, {name: key.kind for name, key in known.items()}))


def prerequisite_keys(pages, sources):
    page = pages[PARAMETERS]
    certified = manual.named(manual.items(page.part("The section Certified Versions")), "Ic")
    explained = manual.named(manual.items(page.part("Checks")), "Ic")
    checks = code.checks(sources)
    complaints = differences(page.name, "the key", certified, code.PREREQS, code.certified_keys(sources))
    complaints += differences(page.name, "the key", explained, code.PREREQS,
                              [*checks, *code.version_keys(sources)])
    # Which checks are for one section only stands in their text.
    text = {}
    for line in page.part("Checks"):
        if line.macro == "It":
            current = line.words[1]
            text[current] = (line, "")
        elif text:
            text[current] = (text[current][0], text[current][1] + " " + line.text)
    limited = {name: (line, "Only in" in body) for name, (line, body) in text.items()}
    return complaints + wrong_values("a check for the generic section only:", limited, checks)


def explained_variables(page):
    return manual.named(manual.items(page.part("ENVIRONMENT")), "Ev")


def environment(pages, sources):
    # The C library reads these for the launcher.
    locale = {"LANG", "LC_MESSAGES", "LC_CTYPE"}
    unzip = explained_variables(pages[UNZIP])
    # What the launcher tells the unpacker is explained there.
    return (differences(LAUNCHER, "the variable", explained_variables(pages[LAUNCHER]), "c/",
                        (code.environment(sources) | locale) - set(unzip)) +
            differences(UNZIP, "the variable", unzip, "unzip/", code.environment(sources, "unzip/")) +
            differences(CHECKER, "the variable", explained_variables(pages[CHECKER]), "check-stage/",
                        code.environment(sources, "check-stage/")))


def statuses(pages, sources):
    page = pages[LAUNCHER]
    explained = {int(line.words[0]): line for line in manual.items(page.part("EXIT STATUS"))
                 if len(line.words) == 1 and line.words[0].isdigit()}
    return differences(page.name, "the status", explained, code.STATUS, code.statuses(sources))


def numbers(page):
    found = {}
    for line in manual.items(page.part("EXIT STATUS")):
        found.update({int(word): line for word in line.words if word.isdigit()})
    return found


def letters(page):
    """Every option that a tool's page explains, without its first hyphen."""
    found = {}
    for line in manual.items(page.part("DESCRIPTION")):
        head = " ".join(line.words).replace("Fl Fl ", "Fl -")
        found.update({word.removeprefix("Fl "): line for word in re.findall(r"Fl \S+", head)})
    return found


def unpacker(pages, sources):
    return (differences(UNZIP, "the status", numbers(pages[UNZIP]), code.UNZIP_STATUS,
                        code.unzip_statuses(sources)) +
            differences(UNZIP, "the option", letters(pages[UNZIP]), code.UNZIP_OPTIONS,
                        code.unzip_options(sources)))


def stage_checker(pages, sources):
    return differences(CHECKER, "the option", letters(pages[CHECKER]), code.STAGE_CHECKER,
                       code.checker_options(sources))


def stage_builder(pages, sources):
    return differences(BUILDER, "the option", letters(pages[BUILDER]), code.STAGE_BUILDER,
                       code.builder_options(sources))


def class_path(pages, sources):
    page = pages[STAGE]
    explained = {name: line for name, line in
                 manual.arguments(page.part("The class path"), "Pa").items() if name.endswith(".jar")}
    return differences(page.name, "the jar", explained, code.COMMAND, code.jars(sources))


def components(pages, sources):
    page = pages[STAGE]
    explained = manual.named(manual.items(page.part("Components")), "Li")
    return differences(page.name, "the component", explained, code.COMPONENTS, code.components(sources))


def languages(pages, sources):
    page = pages[CATALOGUES]
    lines = page.part("Which files are read")
    start = next(at for at, line in enumerate(lines) if line.text.startswith("The launcher brings"))
    return differences(page.name, "the language", manual.arguments(lines[start:], "Li"), "resource/",
                       code.languages(sources))


def same_sentence(quoted, text):
    """Whether a text, with a mark for each argument, begins with what is quoted and goes on, if at
    all, with another sentence. The system's reason may be quoted behind it."""
    text = " ".join(re.sub(r"%(?:\d\$)?(?:l|ll)?[sdu]", "\0", text).split())
    return (text in (quoted, quoted.removesuffix(": \0")) or
            (text.startswith(quoted + " ") and quoted[-1] in ".:?"))


def messages(pages, sources):
    texts = code.messages(sources)
    found = [quote for quote in manual.quotes(pages[LAUNCHER])]
    complaints = []
    for quote in found:
        if quote.key not in texts:
            complaints.append(f"{quote.place}: the message {quote.key} is not in {code.TEXTS}")
        elif not same_sentence(quote.text, texts[quote.key]):
            complaints.append(f"{quote.place}: the message {quote.key} is not quoted as it is: "
                              f"{texts[quote.key].strip()}")
    keys_found = {quote.key for quote in found}
    return complaints + [f"{LAUNCHER}: the message {key} of {code.TEXTS} is missing"
                         for key in sorted(code.error_messages(sources) - keys_found)]


def fixed_messages(pages, sources):
    texts = code.fixed_messages(sources)
    found = manual.quotes(pages[CATALOGUES])
    return ([f"{quote.place}: the message {quote.text} is not in {code.CATALOGUE}" for quote in found
             if not any(same_sentence(quote.text, text) for text in texts)] +
            [f"{CATALOGUES}: the message {text} of {code.CATALOGUE} is missing" for text in sorted(texts)
             if not any(same_sentence(quote.text, text) for quote in found)])


def words_in_capitals(pages, sources):
    """Catches what a table of another shape would bring."""
    everything = "\n".join(page.source for page in pages.values())
    return [f"no page has the word {word} of {path}"
            for word, path in sorted(code.capitals(sources).items())
            if not re.search(rf"(?<![A-Z_]){word}(?![A-Z_])", everything)
            and not word.endswith("_FAILURE_MESSAGE")]


SUBJECTS = [options, explained_options, session_variables, entry_classes, keys,
            prerequisite_keys, environment, statuses, unpacker, stage_checker, stage_builder, class_path, components, languages, messages,
            fixed_messages, words_in_capitals]


@pytest.mark.parametrize("subject", SUBJECTS, ids=lambda subject: subject.__name__)
def test_the_pages_and_the_launcher_agree_on(subject):
    complaints = subject(PAGES, SOURCES)
    assert not complaints, "\n".join(complaints)


# ---- the comparison itself -------------------------------------------------

def changed(texts, name, old, new):
    """The texts with one place of one of them changed."""
    assert texts[name].count(old) >= 1, f"{name} does not hold {old!r}"
    return {**texts, name: texts[name].replace(old, new, 1)}


def page_changed(name, old, new):
    texts = changed({name: page.source for name, page in PAGES.items()}, name, old, new)
    return {name: manual.Page(name, text) for name, text in texts.items()}


def line_of(name, start):
    return next(line.number for line in PAGES[name].lines if line.text.startswith(start))


# subject, source, text there, planted text, complaint
IN_THE_CODE = [
    (options, code.OPTIONS, '    {"-SILENT", ', '    {"-NEW", Action::flags, kNone, nullptr, true, '
     'nullptr},\n    {"-SILENT", ', f"{LAUNCHER}: the option -NEW of {code.OPTIONS} is missing"),
    (explained_options, code.OPTIONS, '    {"-SILENT", ', '    {"-NEW", Action::flags, kNone, nullptr, '
     'true, nullptr},\n    {"-SILENT", ', f"{LAUNCHER}: the option -NEW of {code.OPTIONS} is missing"),
    (explained_options, code.OPTIONS, '"-rtimestamp", line', '"-rTimestamp", line',
     "the option -rtimestamp is spelt -rTimestamp"),
    (session_variables, code.OPTIONS, '    {"FROM_LOCATION"', '    {"TO_LOCATION", Action::flags, '
     'kNone, nullptr, true, nullptr},\n    {"FROM_LOCATION"',
     f"{LAUNCHER}: the session variable TO_LOCATION of {code.OPTIONS} is missing"),
    (entry_classes, code.OPTIONS, 'kstc.KstcAttachHome"', 'kstc.KstcAttach"',
     "the command -ATTACHHOME is 'KstcAttachHome', the code has 'KstcAttach'"),
    (entry_classes, code.OPTIONS, '"/DetachHome"', '"/Detach"',
     "the command -DETACHHOME is 'DetachHome', the code has 'Detach'"),
    (entry_classes, code.OPTIONS, 'kst.ksts.KstsMakeDeps"', 'kst.kstx.KstsMakeDeps"',
     f"{LAUNCHER}: the class talvex.admkit.kst.kstx.KstsMakeDeps of {code.OPTIONS} is missing"),
    (keys, code.SETTINGS, '    {"JRE_OSDPARAM", ', '    {"NEW_KEY", "", Rule::whole, nullptr, nullptr},\n'
     '    {"JRE_OSDPARAM", ', f"{PARAMETERS}: the key NEW_KEY of {code.SETTINGS} is missing"),
    (keys, code.SETTINGS, '{"BOOTSTRAP_SIZE", "69"', '{"BOOTSTRAP_SIZE", "70"',
     "the default of BOOTSTRAP_SIZE is '69', the code has '70'"),
    (keys, code.SETTINGS, '{"UMASK", ""', '{"MASK", ""',
     f"{PARAMETERS}: the key MASK of {code.SETTINGS} is missing"),
    (keys, code.SETTINGS, '{"MULTICD", "T", Rule::first_character', '{"MULTICD", "T", Rule::whole',
     "the value of MULTICD is 'flag', the code has 'other'"),
    (prerequisite_keys, code.PREREQS, '    {"CPU", "CPU_FAILURE_MESSAGE", Phases::all',
     '    {"GPU", "GPU_FAILURE_MESSAGE", Phases::all, check_cpu},\n'
     '    {"CPU", "CPU_FAILURE_MESSAGE", Phases::generic',
     f"{PARAMETERS}: the key GPU of {code.PREREQS} is missing"),
    (prerequisite_keys, code.PREREQS, '    {"CPU", "CPU_FAILURE_MESSAGE", Phases::all',
     '    {"CPU", "CPU_FAILURE_MESSAGE", Phases::generic',
     "a check for the generic section only: CPU is False, the code has True"),
    (prerequisite_keys, code.PREREQS, '"CERTIFIED_VERSION_WARN"', '"CERTIFIED_VERSION_ASK"',
     f"{PARAMETERS}: the key CERTIFIED_VERSION_ASK of {code.PREREQS} is missing"),
    (environment, "c/setupLauncher/scratch.cpp", 'getenv("TMP")', 'getenv("TMPDIR")',
     f"{LAUNCHER}: the variable TMPDIR of c/ is missing"),
    (environment, "c/bootstrap/tree.cpp", '{"UNZIP", "UNZIPOPT"}', '{"UNZIP", "UNZIPPER"}',
     f"{LAUNCHER}: the variable UNZIPPER of c/ is missing"),
    (statuses, code.STATUS, "kStartedFromCd = -3;", "kStartedFromCd = -4;",
     f"{LAUNCHER}: the status 252 of {code.STATUS} is missing"),
    (environment, "unzip/progress.cpp", "std::getenv(kProgressVariable)", 'std::getenv("PROGRESS")',
     f"{UNZIP}: the variable PROGRESS of unzip/ is missing"),
    (unpacker, code.UNZIP_STATUS, "kUnzipEndsEarly = 51;", "kUnzipEndsEarly = 52;",
     f"{UNZIP}: the status 52 of {code.UNZIP_STATUS} is missing"),
    (unpacker, code.UNZIP_OPTIONS, "case 'q':", "case 'Q':",
     f"{UNZIP}: the option Q of {code.UNZIP_OPTIONS} is missing"),
    (stage_checker, code.STAGE_CHECKER, 'option != "--plan"', 'option != "--sketch"',
     f"{CHECKER}: the option -sketch of {code.STAGE_CHECKER} is missing"),
    (stage_builder, code.STAGE_BUILDER, "--unzip) ", "--unpacker) ",
     f"{BUILDER}: the option -unpacker of {code.STAGE_BUILDER} is missing"),
    (class_path, code.COMMAND, '"webclient.jar"', '"client.jar"',
     f"{STAGE}: the jar client.jar of {code.COMMAND} is missing"),
    (components, code.COMPONENTS, '"talvex.jdk"', '"talvex.swd.jdk"',
     f"{STAGE}: the component talvex.swd.jdk of {code.COMPONENTS} is missing"),
    (messages, code.TEXTS, '"The installer cannot be run by', '"The installer is not run by',
     "the message S_ERPERROT is not quoted as it is"),
    (messages, code.SETTINGS, 'complain("S_ERTALPARAMNFD"', 'complain("S_NEW"',
     f"{LAUNCHER}: the message S_NEW of {code.TEXTS} is missing"),
    (fixed_messages, code.CATALOGUE, "Could not read any NLS", "There is no NLS",
     f"{CATALOGUES}: the message ERROR: There is no NLS message catalogue!"),
    (words_in_capitals, "c/setupLauncher/spawn.cpp", '"CreateZULProcess()"', '"NEW_WORD"',
     "no page has the word NEW_WORD of c/setupLauncher/spawn.cpp"),
]


@pytest.mark.parametrize("subject, path, old, new, complaint",
                         IN_THE_CODE,
                         ids=lambda value: getattr(value, "__name__", None) or "")
def test_what_only_the_launcher_has_is_named(subject, path, old, new, complaint):
    complaints = subject(PAGES, changed(SOURCES, path, old, new))
    assert any(complaint in said for said in complaints), complaints


def test_a_new_language_is_named():
    complaints = languages(PAGES, {**SOURCES, "resource/nl.po": ""})
    assert complaints == [f"{CATALOGUES}: the language nl of resource/ is missing"]


# subject, page, text there, planted text, complaint
IN_THE_PAGES = [
    (options, LAUNCHER, ".Fl debug ,\n.Fl memory ,\n", ".Fl memory ,\n.Fl debug ,\n",
     "the option -MEMORY stands where c/setupLauncher/options.cpp has -DEBUG"),
    (options, LAUNCHER, ".Fl debug ,\n", ".Fl debug ,\n.Fl more ,\n",
     "the option -MORE is not in c/setupLauncher/options.cpp"),
    (explained_options, LAUNCHER, ".It Fl silent\n", ".It Fl more\nX.\n.It Fl silent\n",
     "the option -MORE is not in c/setupLauncher/options.cpp"),
    (explained_options, LAUNCHER, ".It Fl silent\n", "",
     f"{LAUNCHER}: the option -SILENT of {code.OPTIONS} is missing"),
    (explained_options, LAUNCHER, ".Fl bigCluster\n", "",
     f"{LAUNCHER}: the option -BIGCLUSTER of {code.OPTIONS} is missing"),
    (session_variables, LAUNCHER, ".It Ic JVM_OPTIONS ", ".It Ic JAVA_OPTIONS ",
     "the session variable JAVA_OPTIONS is not in c/setupLauncher/options.cpp"),
    (entry_classes, LAUNCHER, "Ta KstcCleanup Ta Cleanup Ta\n", "Ta KstcCleanup Ta Cleanup Ta s\n",
     "the command -CLEANUP is 's', the code has ''"),
    (entry_classes, LAUNCHER, ".It Fl relink Ta KstsMakeDeps Ta Ta s\n", "",
     f"{LAUNCHER}: the command -RELINK of {code.OPTIONS} is missing"),
    (keys, PARAMETERS, ".It Ic JRE_OSDPARAM ", ".It Ic JRE_PARAM ",
     "the key JRE_PARAM is not in c/setupLauncher/settings.cpp"),
    (keys, PARAMETERS, "Pq default: Li 1.7.0.0.0", "Pq default: Li 1.8",
     "the default of ZUL_VERSION is '1.8', the code has '1.7.0.0.0'"),
    (prerequisite_keys, PARAMETERS, ".It Ic SWAP_SPACE ", ".It Ic SWAP ",
     "the key SWAP is not in c/prereqchecks/prereq_driver.cpp"),
    (environment, LAUNCHER, ".It Ev DISPLAY\n", ".It Ev DISPLAY , Ev TMPDIR\n",
     "the variable TMPDIR is not in c/"),
    (statuses, LAUNCHER, ".It 253\n", ".It 2\n", "the status 2 is not in c/base/status.h"),
    (unpacker, UNZIP, ".It 12\n", ".It 13\n", "the status 13 is not in unzip/status.h"),
    (unpacker, UNZIP, ".It Fl t\n", ".It Fl T\n", "the option T is not in unzip/command_line.cpp"),
    (stage_checker, CHECKER, ".It Fl Fl plan\n", ".It Fl Fl sketch\n",
     "the option -sketch is not in check-stage/main.cpp"),
    (stage_builder, BUILDER, ".It Fl Fl unzip ", ".It Fl Fl unpacker ",
     "the option -unpacker is not in tools/build-stage"),
    (class_path, STAGE, "webclient.jar", "client.jar",
     "the jar client.jar is not in c/setupLauncher/installer_command.cpp"),
    (components, STAGE, ".It Li talvex.jdk\n", ".It Li talvex.swd.jdk\n",
     "the component talvex.swd.jdk is not in c/bootstrap/stage_layout.h"),
    (languages, CATALOGUES, ".Li ja ,\n", ".Li ja ,\n.Li nl ,\n", "the language nl is not in resource/"),
    (messages, LAUNCHER, ".It \"The installer cannot be run by", ".It \"The installer is not run by",
     f"{LAUNCHER}:{{}}: the message S_ERPERROT is not quoted as it is"),
    (messages, LAUNCHER, '.\\" S_ERPERROT\n', '.\\" S_OLD\n',
     f"{LAUNCHER}:{{}}: the message S_OLD is not in {code.TEXTS}"),
    (fixed_messages, CATALOGUES, ".It ERROR: Could not read any", ".It ERROR: There is no",
     "the message ERROR: There is no NLS message catalogue! is not in c/nls/catalogue.cpp"),
]


@pytest.mark.parametrize("subject, page, old, new, complaint",
                         IN_THE_PAGES,
                         ids=lambda value: getattr(value, "__name__", None) or "")
def test_what_only_a_page_has_is_named(subject, page, old, new, complaint):
    if "{}" in complaint:
        complaint = complaint.format(line_of(LAUNCHER, ".It \"The installer cannot be run by"))
    complaints = subject(page_changed(page, old, new), SOURCES)
    assert any(complaint in said for said in complaints), complaints


# ---- the pages' form -------------------------------------------------------

@pytest.mark.parametrize("name", PAGES)
def test_a_page_has_no_faults_and_is_shown_without_a_warning(name):
    path = f"{manual.PAGES}/{name}"
    for command in (["mandoc", "-T", "lint", "-W", "warning", path],
                    ["groff", "-ww", "-mdoc", "-Tutf8", path]):
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        faults = done.stdout if command[0] == "mandoc" else done.stderr
        assert (faults, done.stderr, done.returncode) == ("", "", 0)


@pytest.mark.parametrize("name", PAGES)
def test_a_shown_page_fits_a_terminal_of_80_columns(name):
    done = subprocess.run(["mandoc", "-T", "ascii", f"{manual.PAGES}/{name}"], capture_output=True,
                          text=True, check=True)
    shown = re.sub(".\b", "", done.stdout)
    assert [line for line in shown.splitlines() if len(line) > 80] == []


def test_pages_refer_only_to_pages_that_there_are():
    elsewhere = {("nohup", "1"), ("pkginfo", "1"), ("unzip", "1"), ("xdpyinfo", "1")}
    known = {tuple(name.rsplit(".", 1)) for name in PAGES} | elsewhere
    wrong = [f"{line.place}: {line.words[0]}({line.words[1]})" for page in PAGES.values()
             for line in page.lines
             if line.macro == "Xr" and tuple(line.words[:2]) not in known]
    assert wrong == []
