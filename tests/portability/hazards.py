"""What compiles on Linux and not on Solaris: one line of code for each, and the word by which the
compiler must name what is wrong."""

# (word, headers, code at file scope)
HAZARDS = [
    ("utsname", "sys/utsname.h", "utsname name;"),
    ("environ", "unistd.h", "char** all = environ;"),
    ("d_type", "dirent.h", "int kind(const struct dirent* entry) { return entry->d_type; }"),
    ("DT_REG", "dirent.h", "int kind = DT_REG;"),
    ("deleted", "dirent.h", "void copy(const struct dirent* e) { struct dirent own = *e; (void)own; }"),
    ("deleted", "unistd.h", "char* here = getcwd(nullptr, 0);"),
    ("deleted", "cstdlib", 'char* there = realpath("/", nullptr);'),
    ("'int'", "cstring", "const char* words(char* text) { return strerror_r(1, text, 9); }"),
    ("iconv", "iconv.h",
     "void all(iconv_t c, char** in, size_t* n, char** out) { iconv(c, in, n, out, n); }"),
    ("mntent.h", "mntent.h", "int any;"),
    ("statfs", "sys/statfs.h", "int any;"),
    ("statfs", "sys/vfs.h", "int any;"),
    ("major", "sys/sysmacros.h", "unsigned device = major(0);"),
    ("FIONREAD", "sys/ioctl.h", "unsigned long request = FIONREAD;"),
    ("TIOCGWINSZ", "sys/ioctl.h", "unsigned long request = TIOCGWINSZ;"),
    ("PATH_MAX", "climits", 'static_assert(PATH_MAX >= 4096, "PATH_MAX");'),
    ("BUFSIZ", "cstdio", 'static_assert(BUFSIZ >= 8192, "BUFSIZ");'),
]

# What the target has not, or not in every release, used in any way.
HAZARDS += [(name, header, f"auto use = {name};") for header, names in {
    "cstdlib": "secure_getenv mkostemp",
    "unistd.h": "copy_file_range execvpe euidaccess pipe2",
    "cstdio": "dprintf open_memstream fmemopen",
    "ctime": "timegm",
    "grp.h": "getgrouplist",
    "clocale": "newlocale LC_PAPER LC_NAME LC_ADDRESS LC_TELEPHONE LC_MEASUREMENT LC_IDENTIFICATION",
    "fcntl.h": "O_PATH O_TMPFILE O_DIRECTORY",
    "climits": "HOST_NAME_MAX NAME_MAX",
    "csignal": "SI_KERNEL",
    "sys/resource.h": "RLIMIT_NPROC RLIMIT_RSS RLIMIT_MEMLOCK",
    "sys/file.h": "LOCK_EX",
    "sys/socket.h": "MSG_NOSIGNAL",
}.items() for name in names.split()]
HAZARDS += [
    ("qsort_r", "cstdlib", "auto use = qsort_r;"),
    ("memrchr", "cstring", 'const void* use = memrchr("", 0, 1);'),
]

# Words that are macros there.
HAZARDS += [("expected", header, f"enum class Word {{ {name} }};") for header, names in {
    "cstdlib": "CS DS ES FS GS SS ERR EFL EIP UESP ESP EAX EBX ECX EDX ESI EDI EBP TRAPNO SEC MILLISEC "
               "MICROSEC NANOSEC NODEV NOPID SIGINFO DEFAULT_TYPE STD_BLK",
    "cmath": "DOMAIN SING OVERFLOW UNDERFLOW PLOSS TLOSS HUGE",
    "string": "sun unix",
}.items() for name in names.split()]
HAZARDS += [("howmany", "cstdlib", "int howmany(int one, int other, int third);")]

# What the target does declare, where it is found there and how it is written there.
PORTABLE = [
    ("sys/utsname.h", "struct utsname name;"),
    ("unistd.h", "extern char** environ; char** all = environ;"),
    ("dirent.h", "const char* name(DIR* from) { return readdir(from)->d_name; }"),
    ("unistd.h", "char room[99]; char* here = getcwd(room, sizeof room);"),
    ("cstring", "int status(char* text) { return strerror_r(1, text, 9); }"),
    ("cstdio sys/mnttab.h", "int first(FILE* table, mnttab* entry) { return getmntent(table, entry); }"),
    ("sys/filio.h", "unsigned long request = FIONREAD;"),
    ("termios.h", "unsigned long request = TIOCGWINSZ;"),
    ("termios.h sys/ioctl.h", "unsigned long request = TIOCGWINSZ;"),
    ("csignal", "int code = SI_NOINFO;"),
]

# What not even its own header makes right.
REFUSED_THERE = [
    ("FILE", "sys/mnttab.h", "mnttab entry;"),
    ("getmntent", "cstdio sys/mnttab.h", "auto* entry = getmntent(stdin);"),
    ("hasmntopt", "cstdio sys/mnttab.h",
     'char* found(mnttab* entry, const char* word) { return hasmntopt(entry, word); }'),
]
