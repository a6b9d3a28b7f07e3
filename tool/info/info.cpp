#include "tool/info/info.h"

#include <algorithm>
#include <set>

#include "tool/fmu/shared_object.h"
#include "tool/os/files.h"
#include "tool/os/user_error.h"

namespace tool {

namespace {

namespace fs = std::filesystem;

/// The port that has a variable's value or derivative; null when none has it.
PortInfo* portOf(const DescribedVariable& variable, std::vector<PortInfo>& ports) {
    const bool isInput = variable.causality == Causality::input;
    if (!variable.isTyped() || variable.type != Type::real || !variable.reference) return nullptr;
    if (variable.causality == Causality::parameter) return nullptr;
    const auto found = std::ranges::find_if(ports, [&](const PortInfo& info) {
        return info.port.isInput == isInput && *variable.reference >= info.port.offset &&
               *variable.reference < info.port.end();
    });
    return found != ports.end() ? &*found : nullptr;
}

void sortIntoPorts(Info& info) {
    if (info.fmu.shape.arePortsKnown)
        for (const Port& port : info.fmu.shape.ports) info.ports.push_back({port, {}, 0});
    for (const DescribedVariable& variable : info.fmu.description.variables) {
        PortInfo* port = portOf(variable, info.ports);
        if (port == nullptr) {
            info.variables.push_back(&variable);
            continue;
        }
        const auto order = (*variable.reference - port->port.offset) / port->port.width;
        port->derivatives = std::max(port->derivatives, static_cast<int>(order));
        if (order == 0) port->signals.push_back(&variable);
    }
    for (PortInfo& port : info.ports)
        std::ranges::stable_sort(port.signals, {}, [](const DescribedVariable* signal) { return signal->reference; });
}

std::vector<FileInfo> filesOf(const fs::path& root) {
    std::vector<FileInfo> files;
    std::error_code failure;
    for (fs::recursive_directory_iterator item(root, fs::directory_options::skip_permission_denied, failure), end;
         !failure && item != end; item.increment(failure)) {
        std::error_code ignored;
        if (item->is_regular_file(ignored) && !item->is_symlink(ignored))
            files.push_back({item->path().lexically_relative(root).generic_string(), item->file_size(ignored)});
    }
    std::ranges::sort(files, {}, &FileInfo::name);
    return files;
}

/// A version as numbers, since 2.4 is older than 2.34.
std::vector<int> numbersOf(std::string_view version) {
    std::vector<int> numbers(1);
    for (const char character : version)
        if (character == '.')
            numbers.push_back(0);
        else if (isDigit(character) && numbers.back() < 100'000)
            numbers.back() = numbers.back() * 10 + (character - '0');
    return numbers;
}

/// Of the FMU's own library and of those bundled beside it.
Needs needsOf(const Fmu& fmu, const std::vector<FileInfo>& files) {
    Needs needs;
    std::set<std::string> needed, present;
    for (const FileInfo& file : files) {
        if (fs::path(file.name).parent_path() != librariesFolder) continue;
        present.insert(fs::path(file.name).filename());
        try {
            const SharedObject object = readSharedObject(fmu.root() / file.name);
            needed.insert(object.needed.begin(), object.needed.end());
            if (numbersOf(needs.glibc) < numbersOf(object.glibc)) needs.glibc = object.glibc;
            if (!object.hasSections) needs.unknown = file.name + " has no section table.";
        } catch (const UserError& error) {
            needs.unknown = error.what();
        }
    }
    if (present.empty()) needs.unknown = "There is no library in " + librariesFolder + ".";
    std::ranges::set_difference(needed, present, std::back_inserter(needs.libraries));
    return needs;
}

} // namespace

std::string_view Info::solverName(const DescribedVariable& variable) const {
    const NameList& list = fmu.names.listOf(variable.type);
    const bool isListed =
        variable.isTyped() && list.isKnown && variable.reference && *variable.reference < list.names.size();
    return isListed ? list.names[*variable.reference] : std::string_view();
}

Info inform(const Fmu& fmu) {
    if (!fmu.isDescribed())
        fail("There is no {} that can be read. Run tessaro-fmu check for the reason.", descriptionFile);
    Info info{fmu, {}, {}, filesOf(fmu.root()), {}};
    sortIntoPorts(info);
    info.needs = needsOf(fmu, info.files);
    return info;
}

} // namespace tool
