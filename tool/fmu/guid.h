// The GUID of an FMU: a hash of all that is in it but the GUID itself.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace tool {

/// What the model description of an FMU that this program made names as generationTool.
std::string_view thisTool();

/// The model description's attribute guid, as it is written.
std::string guidAttribute(std::string_view guid);

/// Depends on the names and every byte of the files that are added, not on their order.
class ContentHash {
public:
    void add(const std::string& name, std::string_view content);
    /// Throws UserError when the file cannot be read.
    void addFile(const std::string& name, const std::filesystem::path& file);
    void leaveOut(const std::string& name) { files_.erase(name); }

    /// A text in the form of a GUID.
    std::string guid() const;

private:
    using Uuid = std::array<unsigned char, 16>;

    std::map<std::string, Uuid> files_;
};

} // namespace tool
