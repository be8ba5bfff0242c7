#include "setupLauncher/argument_listing.h"

#include "log/install_log.h"

void list_arguments(const std::vector<std::string>& arguments) {
    const std::string dashes = std::string(55, '-') + "\n";
    nls_out(dashes);
    show("S_TOTAL_ARGS", arguments.size());
    show("S_CMDLINE_ARG_ELTS");
    for (std::size_t i = 0; i < arguments.size(); ++i)
        nls_out(format_text("Arg:%d:%s:\n", {i, arguments[i]}));
    nls_out(dashes);
    show("S_JVMLOADMSG", arguments.empty() ? std::string() : arguments.front());
}
