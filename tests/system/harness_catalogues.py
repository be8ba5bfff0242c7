"""Catalogues whose texts name their keys, and locales."""

import os
import re
import subprocess

from harness_files import as_bytes, read_file, write_file

LOCALES = "/var/locale"

DIRECTIVE = re.compile(r"%(?:\d+\$)?[-+ #0]*\d*(?:\.\d+)?(?:hh|h|ll|l|z|j|t|L)?[diuoxXcseEfgG]|%%")


def read_catalogue(path):
    """{key: text} of a compiled catalogue, as bytes decoded from UTF-8."""
    texts = {}
    for record in read_file(path).split(b"\0")[:-1]:
        key, _, text = record.decode().partition("=")
        texts.setdefault(key, text)
    return texts


def write_catalogue(path, texts):
    return write_file(path, b"".join(
        as_bytes(key) + b"=" + as_bytes(text) + b"\0" for key, text in texts.items()))


def marked(language, texts):
    """The same keys with texts that name language and key and keep the
    directives: "[en S_KEY|%s|%d]\\n"."""
    return {key: "[" + "|".join([f"{language} {key}"] + [
        found for found in DIRECTIVE.findall(text) if found != "%%"]) + "]\n"
            for key, text in texts.items()}


def en(key, *arguments):
    """What the marked English catalogue makes of a key and its arguments."""
    return ("[" + "|".join([f"en {key}", *map(str, arguments)]) + "]\n").encode()


def de(key, *arguments):
    """The same for the marked German catalogue."""
    return ("[" + "|".join([f"de {key}", *map(str, arguments)]) + "]\n").encode()


def no_catalogue_in(directory):
    """What a launch without any catalogue tells."""
    return (b"\nERROR: Could not read any NLS message catalogue!\n"
            b"It was looked for in the directory " + as_bytes(directory) + b". A launcher that is "
            b"found through the search path or started through a link looks there, not beside its "
            b"own file: start it by its full path.\n")


def bootstrap_failed(scratch, step, component):
    """What a launch tells that cannot bring the installer to its scratch directory."""
    return en("S_BOOTSTRAP_FAILED", scratch, en("S_STEP_" + step).decode(), component) + b"\n"


def compile_locale(name):
    """Makes a locale such as de_DE.ISO-8859-1 known to every launch that has
    LOCPATH=/var/locale in its environment; returns those variables."""
    if not os.path.isdir(f"{LOCALES}/{name}"):
        source, charmap = name.split(".")
        os.makedirs(LOCALES, exist_ok=True)
        compiled = f"{os.environ.get('TEST_LOCALES', '')}/{name}"
        if os.path.isdir(compiled):
            os.symlink(compiled, f"{LOCALES}/{name}")
            return {"LC_ALL": name, "LOCPATH": LOCALES}
        done = subprocess.run(
            ["localedef", "--no-archive", "-c", "-i", source, "-f", charmap, f"{LOCALES}/{name}"],
            capture_output=True, check=False)
        assert os.path.exists(f"{LOCALES}/{name}/LC_CTYPE"), done.stderr.decode()
    return {"LC_ALL": name, "LOCPATH": LOCALES}
