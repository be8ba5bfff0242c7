// <sys/sysmacros.h> of Solaris has no major() and minor() for programs: <sys/mkdev.h> has.
