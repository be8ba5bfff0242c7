#include "catalogues.h"

#include "base/directory.h"
#include "base/paths.h"
#include "catalogue_rules.h"
#include "findings.h"
#include "nls/catalogue.h"
#include "quiet_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <string>

namespace {

constexpr const char* kEnglish = "cons.nls";
// Ten times what any catalogue has; what is behind it is no text.
constexpr std::size_t kMostBytes = std::size_t{4} << 20;
// Of a record without a key so much is shown.
constexpr std::size_t kBeginning = 40;
// Keys that one line lists.
constexpr std::size_t kKeysInLine = 5;
// Lines about the texts of one catalogue.
constexpr std::size_t kMostLines = 50;

using Texts = std::map<std::string, std::string, std::less<>>;

std::string listed(const std::vector<std::string>& keys) {
    std::string list;
    for (std::size_t i = 0; i < std::min(keys.size(), kKeysInLine); ++i)
        list.append(i == 0 ? "" : ", ").append(keys[i]);
    if (keys.size() > kKeysInLine)
        list += " and " + std::to_string(keys.size() - kKeysInLine) + " more";
    return list;
}

bool is_utf8(std::string_view text) {
    // What has to be escaped as bytes is none; controls are told from that by their value.
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        const std::string shown = escaped(text.substr(at, end - at));
        for (std::size_t x = shown.find("\\x"); x != std::string::npos;
             x = shown.find("\\x", x + 2)) {
            if (shown[x + 2] >= '8' && (x == 0 || shown[x - 1] != '\\'))
                return false;
        }
        at = end + 1;
    }
    return true;
}

// What is said of one catalogue; only so many texts get a line.
struct Complaints {
    const std::string& name;
    std::size_t count = 0;

    void add(std::string_view key, const std::string& text) {
        if (count++ < kMostLines)
            report_warning(name, kNoLine, std::string(key) + ": " + text);
    }

    void close() const {
        if (count > kMostLines)
            report_warning(name, kNoLine,
                           std::to_string(count - kMostLines) + " more texts have problems");
    }
};

// The texts of a catalogue by their keys; what is wrong with single records is reported.
Texts texts_of(std::string_view bytes, Complaints& complaints) {
    Texts texts;
    while (!bytes.empty()) {
        const std::size_t end = bytes.find('\0');
        if (end == std::string_view::npos) {
            complaints.add("the last record", "it has no byte 0 at its end and is not read: the "
                                              "file is broken off; compile it anew");
            break;
        }
        const std::string_view record = bytes.substr(0, end);
        bytes.remove_prefix(end + 1);
        const std::size_t equals = record.find('=');
        if (equals == std::string_view::npos) {
            complaints.add(
                "\"" + std::string(record.substr(0, kBeginning)) + "\"",
                "this record has no \"=\", and every launch warns of it: write KEY=text");
            continue;
        }
        const std::string_view key = record.substr(0, equals);
        if (record.size() > kMaxCatalogueRecord)
            complaints.add(key, "the record has " + std::to_string(record.size()) +
                                    " bytes, and a launch cuts it after " +
                                    std::to_string(kMaxCatalogueRecord) + ": shorten the text");
        if (!texts.try_emplace(std::string(key), record.substr(equals + 1)).second)
            complaints.add(key, "the key is there twice, and the first one counts: remove one");
    }
    return texts;
}

const Texts& reference_texts() {
    static const Texts texts = [] {
        const std::string name;
        Complaints nobody{name};
        return texts_of(reference_catalogue(), nobody);
    }();
    return texts;
}

void check_texts(const Texts& texts, Complaints& complaints) {
    std::vector<std::string> unknown;
    for (const auto& [key, text] : texts) {
        const auto reference = reference_texts().find(key);
        if (reference == reference_texts().end()) {
            unknown.push_back(key);
            continue;
        }
        if (!is_utf8(text)) {
            complaints.add(key, "the text is not UTF-8: compile it anew from a source in UTF-8");
            continue;
        }
        std::string problem = check_text(text);
        if (problem.empty())
            problem = check_translation(reference->second, text);
        if (!problem.empty())
            complaints.add(key, problem + ": correct the text");
    }
    if (!unknown.empty())
        report_warning(complaints.name, kNoLine,
                       "no launcher of this version looks up " + counted(unknown.size(), "key") +
                           " of it: " + listed(unknown) + "; ship the catalogues of the launcher");
}

void check_catalogue(const Inspection& inspection, const std::string& path, bool is_english) {
    const std::string name = shown_name(inspection.places, path);
    std::string bytes;
    if (!read_quietly(bytes, path, kMostBytes)) {
        const std::string text = std::string("this catalogue cannot be read: ") +
                                 (errno == EINVAL ? "it is no file" : std::strerror(errno));
        if (is_english)
            report_error(name, kNoLine, text + "; put the launcher's catalogue there");
        else
            report_warning(name, kNoLine, text + "; launches in this language are in English");
        return;
    }
    Complaints complaints{name};
    const Texts texts = texts_of(bytes, complaints);
    check_texts(texts, complaints);
    complaints.close();
    std::vector<std::string> missing;
    for (const auto& [key, text] : reference_texts()) {
        if (!texts.contains(key))
            missing.push_back(key);
    }
    if (missing.empty())
        return;
    if (is_english)
        report_warning(name, kNoLine,
                       "it lacks " + counted(missing.size(), "key") +
                           ", whose messages are empty: " + listed(missing) +
                           "; ship the catalogue of the launcher");
    else
        report_note(name, kNoLine,
                    "it lacks " + counted(missing.size(), "key") +
                        ", whose messages are in English: " + listed(missing));
}

} // namespace

void check_catalogues(const Inspection& inspection) {
    const std::string directory = joined_path(inspection.places.launcher_directory, "resource");
    const std::string english = joined_path(directory, kEnglish);
    if (kind_of(english) == FileKind::missing)
        report_error(shown_name(inspection.places, english), kNoLine,
                     "the English catalogue is missing, and launches end with status 1 where there "
                     "is no other: put the launcher's catalogue there");
    std::vector<std::string> names = directory_entries(directory).names;
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        if (name.starts_with("cons") && name.ends_with(".nls"))
            check_catalogue(inspection, joined_path(directory, name), name == kEnglish);
    }
    std::vector<std::string> missing;
    for (const std::string_view language : reference_languages()) {
        std::string name = "cons_";
        name.append(language).append(".nls");
        if (std::find(names.begin(), names.end(), name) == names.end())
            missing.push_back(name);
    }
    if (!missing.empty() && kind_of(english) != FileKind::missing)
        report_note(shown_name(inspection.places, directory), kNoLine,
                    counted(missing.size(), "language") + " of the launcher " +
                        (missing.size() == 1 ? "is" : "are") +
                        " not there, and messages are in English: " + listed(missing));
}
