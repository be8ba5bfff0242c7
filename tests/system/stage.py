"""Installation stages and homes that bootstrap, laid out for the tests."""

import os
import shutil
import zipfile

from harness import OPERATOR_HOME, Place, Home, read_file, tool, write_file

MEDIA = OPERATOR_HOME + "/media"
COMPONENTS = "../stage/Components"

ZUL = "talvex.swd.zul"
CORE = "talvex.swd.zul.core"
MINIMAL = "talvex.swd.zul.core.min"
TESSEL = "talvex.swd.tessel"
JRE = "talvex.swd.jre"
JDK = "talvex.jdk"


def write_jar(path, files):
    """An archive with the given {name: content}."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as jar:
        for name, content in files.items():
            entry = zipfile.ZipInfo(name, (2024, 1, 31, 9, 5, 16))
            entry.external_attr = 0o100644 << 16
            jar.writestr(entry, content)
    return path


USUAL_UNZIP = "/usr/bin/unzip"


def unzip_program():
    """What the stage builder ships: the unzip of our own where it was built, else the usual one."""
    own = os.environ.get("STAGE_UNZIP", "")
    return own if os.path.exists(own) else os.path.realpath(USUAL_UNZIP)


def java_program():
    return read_file(tool("RECORDER"))


class Stage(Place):
    """A stage at MEDIA with all known components, one archive each. The
    runtime's java is the recorder."""

    DEFAULTS = {"DISTRIBUTION": "TRUE", "MULTICD": "FALSE", "BOOTSTRAP_SIZE": "1",
                "JRE_LOCATION": f"{COMPONENTS}/{JRE}/1.0/1/DataFiles",
                "WAIT_FOR_COMPLETION": "TRUE"}

    def __init__(self, top=MEDIA, unzip=None):
        self.top = top
        self.components = f"{top}/stage/Components"
        super().__init__(f"{top}/install")
        shutil.copy(unzip or os.path.realpath(USUAL_UNZIP), self.dir + "/unzip")
        self.component(JRE, "1.0", {"jre/1.0/bin/java": java_program()})
        self.component(ZUL, "1.7.0.0.0", {"zul/jlib/zul.jar": b"zul"})
        self.component(CORE, "1.7.0.0.0", {"zul/jlib/core.jar": b"core"})
        self.component(MINIMAL, "1.7.0.0.0", {"zul/jlib/min.jar": b"min"})
        self.component(TESSEL, "1.7.0.0.0", {"Tessel/jlib/tessel.jar": b"tessel"})
        self.ini()

    def data_files(self, name, version):
        return f"{self.components}/{name}/{version}/1/DataFiles"

    def component(self, name, version, files, expanded=()):
        """A component's archive and, beside it, files of the tree Expanded."""
        data = self.data_files(name, version)
        write_jar(f"{data}/{name}.jar", files)
        for path, content in dict(expanded).items():
            write_file(f"{data}/Expanded/{path}", content)
        return data

    def remove(self, name):
        shutil.rmtree(f"{self.components}/{name}")


class CopyHome(Home):
    """A home whose launch copies trees into the scratch directory."""

    DEFAULTS = {"DISTRIBUTION": "FALSE", "BOOTSTRAP": "TRUE", "MULTICD": "FALSE",
                "BOOTSTRAP_SIZE": "1", "JRE_LOCATION": "../../jdk/jre",
                "ZUL_LOCATION": "../trees/zul", "ZUL_CORE_LOCATION": "../trees/core",
                "ZUL_CORE_MIN_LOCATION": "../trees/min", "TESSEL_LOCATION": "../trees/tessel",
                "WAIT_FOR_COMPLETION": "TRUE"}

    def __init__(self):
        super().__init__()
        os.rmdir(self.top + "/talui/jlib")
        self.trees = self.top + "/talui/trees"
        for name, path in (("zul", "jlib/zul.jar"), ("core", "jlib/core.jar"),
                           ("min", "jlib/min.jar"), ("tessel", "jlib/tessel.jar")):
            write_file(f"{self.trees}/{name}/{path}", name)
