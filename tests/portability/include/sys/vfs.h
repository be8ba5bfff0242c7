#error "Solaris has no statfs(); statvfs() tells"
