#include "catalogue_problems.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace {

std::size_t problems = 0;
std::string stale_output;

} // namespace

void report_problem(const std::string& file, std::size_t line, std::string_view key,
                    std::string_view message) {
    std::string report = file;
    if (line != 0)
        report += ":" + std::to_string(line);
    report += ": ";
    if (!key.empty())
        report.append(key).append(": ");
    report.append(message).append("\n");
    std::cerr << report;
    ++problems;
}

std::size_t problem_count() {
    return problems;
}

void remove_when_giving_up(const std::string& output) {
    stale_output = output;
}

// The PO reader may give up deep inside its parser, so nothing is unwound or destroyed here.
void give_up() {
    if (!stale_output.empty())
        static_cast<void>(std::remove(stale_output.c_str()));
    std::cerr.flush();
    std::_Exit(1);
}
