#include "tool/pack/documentation.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "tool/pack/model_description_writer.h"
#include "tool/pack/xml_writer.h"

namespace tool {

namespace {

constexpr const char* dependenciesForm = R"({name}.fmu needs, besides itself, on the machine that runs it:

1. A Tessaro installation for 64-bit Linux, with
     plsolvers/tessaro/bin/linux64/tscicos.so             the solver's interface library
     io/translators/bin/linux64/fmu_batch                 the translator of model templates
   (pldesktop/io/translators/bin/linux64/fmu_batch is tried as well.)

2. Environment variables, set before the unit is instantiated:
     KORVAN_FMU_ROOT   required: the installation's root folder
     NUSOL_DLL_DIR     optional: folder of tscicos.so
                       default: $KORVAN_FMU_ROOT/plsolvers/tessaro/bin/linux64
     KELDEX_PATH       optional: folder of the solver's common libraries
                       default: $KORVAN_FMU_ROOT/plsolvers/common/bin/linux64

3. The system libraries {libraries}.

The unit writes {name}.csv and {name}.xml into its resources folder when initialization begins. The solver writes the
result file {result}; without a slash in its name it also goes to the resources folder, otherwise a relative name
counts from the master's working directory.
)";

void writeTable(XmlWriter& page, const Layout& layout, Causality causality, const char* title) {
    const auto isListed = [causality](const Variable& variable) { return variable.causality == causality; };
    if (std::ranges::none_of(layout.variables, isListed)) return;
    page.element("h2", title);
    auto table = page.element("table");
    {
        auto head = page.element("tr");
        for (const char* column : {"name", "unit", "start", "description"}) page.element("th", column);
    }
    for (const PlannedVariable& variable : layout.variables) {
        if (!isListed(variable)) continue;
        auto row = page.element("tr");
        page.element("td", variable.name);
        page.element("td", variable.unit);
        page.element("td", variable.start ? textOf(*variable.start) : "");
        page.element("td", variable.description);
    }
}

void writeBody(XmlWriter& page, const Description& description, const Layout& layout) {
    auto body = page.element("body");
    page.element("h1", description.name);
    if (!description.text.empty()) page.element("p", description.text);
    writeTable(page, layout, Causality::input, "Inputs");
    writeTable(page, layout, Causality::output, "Outputs");
    writeTable(page, layout, Causality::parameter, "Parameters");
    page.element("p", "Inputs are held from one communication point to the next. Parameters are set before "
                      "initialization; reals reach the solver with six decimals.");
    auto last = page.element("p");
    last.text("What has to be installed: ");
    page.element("a").attribute("href", "externalDependencies.txt").text("externalDependencies.txt");
}

} // namespace

std::string indexPage(const Description& description, const Layout& layout) {
    XmlWriter page;
    {
        auto html = page.element("html");
        html.attribute("lang", "en");
        {
            auto head = page.element("head");
            page.element("meta").attribute("charset", "utf-8");
            page.element("title", description.name);
        }
        writeBody(page, description, layout);
    }
    return "<!DOCTYPE html>\n" + page.finish();
}

std::string externalDependencies(const Description& description, const std::vector<std::string>& libraries) {
    return fmt::format(fmt::runtime(dependenciesForm), fmt::arg("name", description.name),
                       fmt::arg("libraries", fmt::to_string(fmt::join(libraries, ", "))),
                       fmt::arg("result", description.resultFile));
}

} // namespace tool
