// `tessaro-fmu check`: finds nothing in a good FMU, and each planted mistake at its place; bad input does no harm.
#include <algorithm>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include <cstring>

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <zip.h>

#include "tests/support.h"
#include "tool/check/check.h"
#include "tool/fmu/guid.h"
#include "tool/fmu/loader_cache.h"
#include "tool/fmu/structured_name.h"
#include "tool/os/user_error.h"

using namespace tool;

namespace {

const fs::path sources = TESSARO_SOURCES;
const std::string description = "modelDescription.xml";

/// A copy of the good FMU as a folder.
struct GoodFmu : Folder {
    GoodFmu() {
        fs::copy(sources / "tests/fmu", path, fs::copy_options::recursive);
        fs::create_directories(path / "binaries/linux64");
        fs::copy_file(TESSARO_LIBRARY, path / "binaries/linux64/Rig.so");
        fs::copy_file(path / description, path / "resources" / description);
    }
};

/// What is found wrong; notes are left out.
std::vector<Finding> check(const fs::path& fmu) {
    Report report;
    checkFmu(Fmu(fmu), report);
    std::vector<Finding> wrong = report.findings();
    std::erase_if(wrong, [](const Finding& finding) { return finding.severity == Severity::note; });
    return wrong;
}

/// RULE:LINE, with @FILE after the rule if it is another file than the one given.
std::multiset<std::string> shown(const std::vector<Finding>& findings, const std::string& file) {
    std::multiset<std::string> result;
    for (const Finding& found : findings)
        result.insert(found.rule + (found.place.file == file ? "" : "@" + found.place.file) + ":" +
                      std::to_string(found.place.line));
    return result;
}

std::string replaced(const std::string& text, const std::string& old, const std::string& now) {
    const std::size_t at = text.find(old);
    EXPECT_NE(at, std::string::npos) << old;
    if (at == std::string::npos) return text;
    return text.substr(0, at) + now + text.substr(at + old.size());
}

/// A text of the table as it is meant.
std::string meant(std::string text) {
    if (text == "(empty)") return "";
    const std::pair<const char*, char> escapes[] = {{"\\n", '\n'}, {"\\t", '\t'}, {"\\r", '\r'}, {"\\0", '\0'}};
    for (const auto& [escape, character] : escapes)
        for (std::size_t at = 0; (at = text.find(escape)) != std::string::npos;) text.replace(at, 2, 1, character);
    const std::string tool = "<this tool>";
    if (const std::size_t at = text.find(tool); at != std::string::npos) text.replace(at, tool.size(), thisTool());
    std::smatch run;
    if (std::regex_search(text, run, std::regex("<(\\d+) x>")))
        text = run.prefix().str() + std::string(std::stoul(run[1]), 'x') + run.suffix().str();
    return text;
}

/// A row of tests/check_mistakes.txt.
struct Mistake {
    std::string row, file;
    std::vector<std::string> columns;

    void plantIn(const fs::path& fmu) const {
        const fs::path path = fmu / file;
        if (columns[1] == "(all)") {
            fs::remove_all(path);
            if (columns[2] == "(pipe)")
                ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
            else if (columns[2] != "(removed)")
                writeFile(path, meant(columns[2]));
        } else {
            std::string text = contentOf(path);
            for (std::size_t i = 1; i + 1 < columns.size(); i += 2) {
                EXPECT_TRUE(file.ends_with(".so") || text.find(meant(columns[i])) == text.rfind(meant(columns[i])))
                    << row;
                text = replaced(text, meant(columns[i]), meant(columns[i + 1]));
            }
            writeFile(path, text);
        }
        if (file == description && fs::exists(path)) // the copy among the resources stays one
            fs::copy_file(path, fmu / "resources" / description, fs::copy_options::overwrite_existing);
    }
};

std::vector<Mistake> mistakes() {
    std::ifstream table(sources / "tests/check_mistakes.txt");
    std::vector<Mistake> rows;
    std::string file;
    for (std::string row; std::getline(table, row);) {
        if (row.starts_with("[")) file = row.substr(1, row.size() - 2);
        if (row.empty() || row[0] == '#' || row[0] == '[') continue;
        Mistake mistake{row, file, {}};
        for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 3) {
            end = row.find(" ~ ", start);
            mistake.columns.push_back(row.substr(start, end - start));
        }
        rows.push_back(mistake);
    }
    return rows;
}

std::set<std::string> namesOfRules() {
    std::set<std::string> names;
    for (const Rule& rule : fmuRules) names.emplace(rule.name);
    return names;
}

} // namespace

TEST(Check, FindsNothingInAGoodFmuAndEachPlantedMistakeAtItsPlace) {
    EXPECT_EQ(shown(check(GoodFmu().path), ""), std::multiset<std::string>{});

    std::set<std::string> neverFound = namesOfRules();
    EXPECT_EQ(neverFound.erase("unreadable"), 1U) << "is the program's";
    EXPECT_EQ(neverFound.erase("usage"), 1U) << "is the program's";
    EXPECT_EQ(neverFound.erase("archive-entry"), 1U) << "takes an archive";
    EXPECT_EQ(neverFound.erase("description-missing"), 1U) << "takes an archive";
    EXPECT_EQ(neverFound.erase("library-sections"), 1U) << "takes a changed header";
    for (const Mistake& mistake : mistakes()) {
        const GoodFmu fmu;
        mistake.plantIn(fmu.path);
        std::istringstream expected(meant(mistake.columns[0]));
        const std::vector<Finding> findings = check(fmu.path);
        EXPECT_EQ(shown(findings, mistake.file),
                  (std::multiset<std::string>{std::istream_iterator<std::string>(expected), {}}))
            << mistake.row;
        for (const Finding& found : findings) neverFound.erase(found.rule);
    }
    EXPECT_EQ(neverFound, std::set<std::string>{}) << "rules without a planted mistake";
}

TEST(Check, ALibraryWithoutSectionsIsReportedAndOneWithThemSaysWhichGlibcItNeeds) {
    const GoodFmu fmu;
    Report report;
    checkFmu(Fmu(fmu.path), report);
    ASSERT_EQ(report.findings().size(), 1U);
    EXPECT_TRUE(std::regex_match(report.findings()[0].what, std::regex("needs glibc 2\\.\\d+ or newer")));

    const fs::path library = fmu.path / "binaries/linux64/Rig.so";
    std::string content = contentOf(library);
    Elf64_Ehdr header;
    std::memcpy(&header, content.data(), sizeof header);
    header.e_shoff = header.e_shnum = header.e_shstrndx = 0;
    std::memcpy(content.data(), &header, sizeof header);
    writeFile(library, content);
    EXPECT_EQ(shown(check(fmu.path), "binaries/linux64/Rig.so"), std::multiset<std::string>{"library-sections:0"});
}

TEST(Check, StartsNoOtherProcess) {
    check(GoodFmu().path);
    rusage children;
    ASSERT_EQ(getrusage(RUSAGE_CHILDREN, &children), 0);
    EXPECT_EQ(children.ru_maxrss, 0) << "a child process ended";
}

TEST(Check, TheLoadersListIsReadAndADamagedOneDoesNoHarm) {
    const std::string good = contentOf("/etc/ld.so.cache");
    const auto paths = parseLoaderCache(good);
    ASSERT_TRUE(paths.contains("libc.so.6"));
    EXPECT_TRUE(fs::equivalent(paths.at("libc.so.6"), "/lib/x86_64-linux-gnu/libc.so.6"));
    for (std::size_t at = 0; at < std::min<std::size_t>(good.size(), 400); ++at) {
        std::string bad = good;
        bad[at] = '\xFF';
        EXPECT_LE(parseLoaderCache(bad).size(), paths.size() + 1);
        EXPECT_LE(parseLoaderCache(good.substr(0, at)).size(), paths.size());
    }
}

TEST(Check, AnArchiveIsUnpackedWithoutWhatLeadsOutOfIt) {
    const GoodFmu fmu;
    const Folder folder;
    const std::string archive = folder.path / "Rig.fmu";
    zip_t* zip = zip_open(archive.c_str(), ZIP_CREATE, nullptr);
    const auto add = [&](const fs::path& file, const std::string& name) {
        EXPECT_GE(zip_file_add(zip, name.c_str(), zip_source_file(zip, file.c_str(), 0, -1), 0), 0) << name;
    };
    fs::remove(fmu.path / description); // the copy among the resources is none of an archive
    for (const auto& entry : fs::recursive_directory_iterator(fmu.path))
        if (entry.is_regular_file()) add(entry.path(), entry.path().lexically_relative(fmu.path));
    for (const char* name : {"../out.txt", "/out.txt", "resources\\out.txt", "resources/./mv.par"})
        add(fmu.path / "resources" / description, name);
    EXPECT_EQ(zip_close(zip), 0);

    EXPECT_EQ(shown(check(archive), ""),
              (std::multiset<std::string>{"archive-entry:0", "archive-entry:0", "archive-entry:0", "archive-entry:0",
                                          "description-missing@modelDescription.xml:0"}));
    EXPECT_FALSE(fs::exists(fs::temp_directory_path() / "out.txt"));
}

TEST(Check, TheDocumentationListsEachRuleOnceAsTheTableHasIt) {
    const std::string text = contentOf(sources / "docs/checks.md");
    const std::regex row("\n(\\| `[a-z0-9-]+` \\| (error|warning) \\|) [^\n]* (\\| [^|\n]* \\|)(?=\n)");
    std::multiset<std::string> listed, known;
    for (std::sregex_iterator at(text.begin(), text.end(), row), end; at != end; ++at)
        listed.insert(at->str(1) + at->str(3));
    for (const Rule& rule : allRules)
        known.insert("| `" + std::string(rule.name) + "` | " +
                     (rule.severity == Severity::error ? "error" : "warning") + " || " + std::string(rule.why) + " |");
    EXPECT_EQ(listed, known);
}

TEST(Check, StructuredNamesFollowTheGrammarOfTheStandard) {
    for (const char* name : {"a", "_a1", "a.b[1].c[20,3]", "'any text: (1)'", "a.'\\''.b"})
        EXPECT_TRUE(isStructuredName(name)) << name;
    for (const char* name : {"", "1a", "a.", ".a", "a b", "a[]", "a[1", "a[1,]", "a[-1]", "a[1]b", "x.'", "''", "'a",
                             "'\"'", "'(\\x", "'\\q'", "'\xc3\xbc'", "a-b", "der(a)"})
        EXPECT_FALSE(isStructuredName(name)) << name;
    for (const char* name : {"der(a.b)", "der(a[1].'x y',2)", "a.b"})
        EXPECT_TRUE(isStructuredNameOrDerivative(name)) << name;
    for (const char* name : {"der(a", "der()", "der(a,)", "der(a,-1)", "der(der(a))", "der(a).b"})
        EXPECT_FALSE(isStructuredNameOrDerivative(name)) << name;
}

TEST(Check, ManyFindingsOfAKindAreCounted) {
    const GoodFmu fmu;
    std::string variables;
    for (int i = 0; i < 20'000; ++i)
        variables += "<ScalarVariable name='v" + std::to_string(i) + "' valueReference='" + std::to_string(i + 16) +
                     "' causality='parameter' variability='fixed'><Real start='1'/></ScalarVariable>\n";
    for (const std::string folder : {"", "resources"})
        writeFile(fmu.path / folder / description, replaced(contentOf(sources / "tests/fmu" / description),
                                                            "  </ModelVariables>", variables + "</ModelVariables>"));

    const std::vector<Finding> findings = check(fmu.path);
    const std::multiset<std::string> expected{"reference-range:51", "reference-range:52", "reference-range:53",
                                              "reference-range:54", "reference-range:55", "reference-range:56"};
    EXPECT_EQ(shown(findings, description), expected);
    EXPECT_NE(findings.back().what.find(" 19995 more"), std::string::npos) << findings.back().what;
}

TEST(Check, NoInputEndsTheProgram) {
    // Each file of the FMU, cut at many places, with bytes changed, and with other files' content.
    const GoodFmu fmu;
    std::size_t found = 0;
    // The library last: most of a check's time goes into what it needs. Without it there is one more finding.
    const std::string library = "binaries/linux64/Rig.so", goodLibrary = contentOf(fmu.path / library);
    fs::remove(fmu.path / library);
    for (const std::string file :
         {"modelDescription.xml", "resources/fmu2ts.par", "resources/mv.par", library.c_str()}) {
        const std::string good = file == library ? goodLibrary : contentOf(fmu.path / file);
        const std::size_t step = std::max<std::size_t>(good.size() / 40, 1);
        for (std::size_t at = 0; at < good.size(); at += step) {
            for (const std::string& bad : {good.substr(0, at), good.substr(0, at) + "\xFF\x80" + good.substr(at + 1),
                                           good.substr(0, at) + "99999999999" + good.substr(at)}) {
                writeFile(fmu.path / file, bad);
                found += check(fmu.path).size() - (file == library ? 0 : 1);
            }
        }
        writeFile(fmu.path / file, good);
    }
    EXPECT_GT(found, 300U);

    std::string nested, laughs = "<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY a \"aaaaaaaaaa\">";
    for (int i = 0; i < 100'000; ++i) nested += "<a>";
    for (char name = 'b'; name < 'p'; ++name) {
        const std::string inner = "&" + std::string(1, static_cast<char>(name - 1)) + ";";
        laughs += "<!ENTITY " + std::string(1, name) + " \"" + inner + inner + inner + inner + inner + "\">";
    }
    for (const std::string& text : {nested, laughs + "]><a b=\"&o;\"/>"}) {
        writeFile(fmu.path / description, text);
        EXPECT_EQ(check(fmu.path).size(), 1U);
    }
    EXPECT_THROW(check(fmu.path / "nothing"), UserError);
    EXPECT_THROW(check(fmu.path / "resources/mv.par"), UserError);
}
