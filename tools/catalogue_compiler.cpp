// catalogue_compiler: makes a message catalogue of the launcher from PO files.
//
//   catalogue_compiler --template cons.pot -o cons.nls
//       the English catalogue: the texts are those of msgid
//   catalogue_compiler --template cons.pot --translation de.po -o cons_de.nls
//       a translation: the texts are those of msgstr, in the order of the template
//
// A catalogue is a run of records KEY=text, each ended by a NUL byte. Whatever is wrong with a
// source is reported with its place, and then there is no catalogue: status 1. A wrong command line
// is status 2.

#include "catalogue_po.h"
#include "catalogue_problems.h"
#include "catalogue_rules.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

struct Arguments {
    std::string template_path;
    std::string translation_path; // empty: the English catalogue
    std::string output_path;
};

std::optional<Arguments> read_arguments(const std::vector<std::string>& words) {
    Arguments arguments;
    for (std::size_t at = 0; at < words.size(); at += 2) {
        std::string* target = nullptr;
        if (words[at] == "--template")
            target = &arguments.template_path;
        else if (words[at] == "--translation")
            target = &arguments.translation_path;
        else if (words[at] == "-o")
            target = &arguments.output_path;
        if (target == nullptr || at + 1 == words.size() || !target->empty() ||
            words[at + 1].empty())
            return std::nullopt;
        *target = words[at + 1];
    }
    if (arguments.template_path.empty() || arguments.output_path.empty())
        return std::nullopt;
    return arguments;
}

// Renaming over a device, or over a source, would destroy it.
bool output_may_be_replaced(const Arguments& arguments) {
    std::error_code ignored;
    const auto& output = arguments.output_path;
    if (!std::filesystem::exists(std::filesystem::symlink_status(output, ignored)))
        return true;
    return std::filesystem::is_regular_file(std::filesystem::symlink_status(output, ignored)) &&
           !std::filesystem::equivalent(output, arguments.template_path, ignored) &&
           !std::filesystem::equivalent(output, arguments.translation_path, ignored);
}

// Reports what is wrong with a text, whatever it is; true when nothing is.
bool text_is_sound(const CatalogueFile& file, const CatalogueEntry& entry,
                   const std::string& text) {
    std::string problem = check_text(text);
    if (problem.empty())
        problem = check_record_size(entry.key, text);
    if (problem.empty())
        return true;
    report_problem(file.path, entry.line, entry.key, problem);
    return false;
}

void add_record(std::string& records, const std::string& key, const std::string& text) {
    records.append(key).append("=").append(text).push_back('\0');
}

std::string compile_template(const CatalogueFile& source) {
    std::string records;
    for (const CatalogueEntry& entry : source.entries) {
        if (entry.english.empty())
            report_problem(source.path, entry.line, entry.key, "the text is empty");
        if (!entry.translated.empty())
            report_problem(source.path, entry.line, entry.key, "the template has a translation");
        if (text_is_sound(source, entry, entry.english))
            add_record(records, entry.key, entry.english);
    }
    return records;
}

std::string compile_translation(const CatalogueFile& source, const CatalogueFile& translation) {
    std::map<std::string, const CatalogueEntry*> translated;
    for (const CatalogueEntry& entry : translation.entries)
        translated.emplace(entry.key, &entry);

    std::string records;
    for (const CatalogueEntry& english : source.entries) {
        const auto found = translated.find(english.key);
        if (found == translated.end()) {
            report_problem(translation.path, translation.last_line, english.key,
                           "the key is missing; " + source.path + ":" +
                               std::to_string(english.line) + " has it");
            continue;
        }
        const CatalogueEntry& entry = *found->second;
        translated.erase(found);
        std::string problem;
        if (entry.english != english.english)
            problem = "the English text is not that of the template";
        else if (entry.translated.empty())
            problem = "the text is not translated";
        if (!problem.empty()) {
            report_problem(translation.path, entry.line, entry.key, problem);
            continue;
        }
        if (!text_is_sound(translation, entry, entry.translated))
            continue;
        problem = check_translation(english.english, entry.translated);
        if (!problem.empty())
            report_problem(translation.path, entry.line, entry.key, problem);
        add_record(records, entry.key, entry.translated);
    }
    for (const auto& [key, entry] : translated)
        report_problem(translation.path, entry->line, key, "the template does not have this key");
    return records;
}

// A reader of the output sees the old catalogue or the new one, never a part of it.
void write_output(const std::string& path, const std::string& records) {
    const std::string unfinished = path + ".new-" + std::to_string(getpid());
    std::FILE* file = std::fopen(unfinished.c_str(), "wbx");
    int error = file == nullptr ? errno : 0;
    if (file != nullptr) {
        if (std::fwrite(records.data(), 1, records.size(), file) != records.size() ||
            std::fflush(file) != 0)
            error = errno;
        if (std::fclose(file) != 0 && error == 0)
            error = errno;
        if (error == 0 && std::rename(unfinished.c_str(), path.c_str()) != 0)
            error = errno;
        if (error != 0)
            static_cast<void>(std::remove(unfinished.c_str()));
    }
    if (error != 0)
        report_problem(path, 0, "", std::string("cannot be written: ") + std::strerror(error));
}

} // namespace

int main(int argc, char** argv) {
    const auto arguments = read_arguments({argv + 1, argv + argc});
    if (!arguments) {
        std::cerr << "usage: catalogue_compiler --template FILE.pot [--translation FILE.po] "
                     "-o FILE.nls\n";
        return 2;
    }
    if (!output_may_be_replaced(*arguments)) {
        report_problem(arguments->output_path, 0, "", "is not a file that may be replaced");
        return 1;
    }
    remove_when_giving_up(arguments->output_path);

    const CatalogueFile source = read_catalogue_po(arguments->template_path);
    CatalogueFile translation;
    if (!arguments->translation_path.empty())
        translation = read_catalogue_po(arguments->translation_path);
    // Entries that were refused would only be reported again, as missing.
    if (problem_count() != 0)
        give_up();

    std::string records = compile_template(source);
    if (!arguments->translation_path.empty() && problem_count() == 0)
        records = compile_translation(source, translation);
    if (problem_count() == 0)
        write_output(arguments->output_path, records);
    if (problem_count() != 0)
        give_up();
    return 0;
}
