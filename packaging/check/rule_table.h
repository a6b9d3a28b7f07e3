// Every rule that `tessaro-fmu check` can report, with what is the same for all its findings. docs/checks.md lists the
// same names.
#pragma once

#include <string_view>

#include "packaging/findings.h"

namespace packaging::checking {

struct Rule {
    std::string_view name;
    Severity severity;
    std::string_view why;
    std::string_view mend;
};

inline constexpr Rule allRules[] = {
    // The files
    {"archive-entry", Severity::error, "Masters refuse such an archive, or unpack it to places that nobody expects.",
     "Pack the FMU again, with plain relative names and forward slashes."},
    {"description-missing", Severity::error, "Without modelDescription.xml at its root it is no FMU.",
     "Put modelDescription.xml at the root of the archive, not into a folder of it."},
    {"file-stray", Severity::warning, "The standard has no place for it, and some masters complain.",
     "Move it into resources, documentation or sources, or leave it out."},
    {"file-special", Severity::warning, "Only regular files and folders survive in an archive.",
     "Replace it by a regular file."},
    {"resources-missing", Severity::error, "The library reads its parameter files and the model from there.",
     "Add fmu2ts.par, mv.par and the template of the model file."},

    // The library
    {"library-missing", Severity::error, "The master looks for it under exactly this name.",
     "Copy libtessaro_fmu.so there under this name."},
    {"library-unusable", Severity::error, "No master on 64-bit Linux can load it.", "Take libtessaro_fmu.so."},
    {"library-function", Severity::error, "Masters refuse a library that lacks one of FMI 2.0's functions.",
     "Take the libtessaro_fmu.so that belongs to this program."},
    {"library-dependency", Severity::error, "The FMU can't be loaded on this machine.",
     "Install the missing library, or bundle it beside the FMU's."},
    {"library-origin", Severity::error, "The FMU can't be loaded on this machine.",
     "Give the library that needs it the search path $ORIGIN (RUNPATH), as tessaro-fmu pack --bundle does."},
    {"library-symbol", Severity::error, "Masters that bind all symbols at once refuse the FMU; others end at the call.",
     "Link the library with what defines the symbol, and with -Wl,--no-undefined."},
    {"library-sections", Severity::warning,
     "The loader takes it, but which functions it has and what it needs can't be looked into.",
     "Take libtessaro_fmu.so as it was built, or strip it with strip."},
    {"library-glibc", Severity::error, "The FMU can't be loaded on this machine.",
     "Build the library on a system at least as old as the oldest one that is to run it."},

    // modelDescription.xml as XML
    {"xml-malformed", Severity::error, "No master can read the FMU.", ""},
    {"xml-doctype", Severity::error, "It can make a master read foreign files; FMI has no use for it.",
     "Remove the document type declaration."},
    {"xml-encoding", Severity::warning, "FMI 2.0 requires UTF-8.",
     "Write the file as UTF-8 and say so in its first line."},
    {"fmi-version", Severity::error, "The library speaks FMI 2.0 only.",
     "The root is fmiModelDescription with fmiVersion=\"2.0\"."},
    {"schema-element", Severity::error, "Masters that validate refuse the FMU; others skip the element.",
     "Keep to the elements and the order of the FMI 2.0 schema."},
    {"schema-attribute", Severity::error, "Masters that validate refuse the FMU; others ignore the attribute.",
     "Keep to the attributes of the FMI 2.0 schema."},
    {"attribute-missing", Severity::error, "The schema requires it.", ""},
    {"attribute-value", Severity::error, "Masters refuse the FMU, or read another value.", ""},

    // What the description says of the FMU as a whole
    {"model-exchange", Severity::error, "The library can't do model exchange.", "Remove the element ModelExchange."},
    {"cosimulation-missing", Severity::error, "No master can use the FMU for co-simulation.",
     "Add the element CoSimulation."},
    {"identifier", Severity::error, "Loaders take it for a C identifier: a letter or underscore, then also digits.",
     "Take another modelIdentifier, and name the library after it."},
    {"guid-empty", Severity::error, "The library refuses to be instantiated without one.", "Give it a new GUID."},
    {"capability-promise", Severity::error, "The library can't keep this promise.",
     "Give the attribute the other value; where it is missing, its default counts."},
    {"capability-hidden", Severity::warning,
     "Masters then stop short of an end that is no multiple of the step, or overshoot.",
     "Write canHandleVariableCommunicationStepSize=\"true\"."},
    {"derivative-order", Severity::error,
     "One distance, measured on output port 0, serves the derivatives of all outputs, up to the second.",
     "Write 2 when all output ports have the same width and no output is a derivative, otherwise 0."},
    {"log-category-unknown", Severity::warning,
     "The library sends nothing under this name and complains when it is switched.", "Remove the category."},
    {"log-category-missing", Severity::warning, "Only listed categories may be sent, and masters may drop the others.",
     "List logAll, logError, logFmiCall, logEvent, error, warning and log."},
    {"log-category-duplicate", Severity::error, "Names of categories are unique.", "Remove one of them."},
    {"experiment-start", Severity::warning,
     "With another start time than 0 the library logs an error, and solvers start at 0.", "Write startTime=\"0\"."},
    {"experiment-stop", Severity::error, "An experiment ends after its start.", ""},
    {"experiment-step", Severity::error, "A step is longer than 0 and not longer than the experiment.", ""},
    {"experiment-final-time", Severity::warning,
     "Which of the two the solver is told depends on whether the master defines a stop time.",
     "Write the same time in both files."},
    {"unit-undefined", Severity::error, "Masters can't convert the value.", "Define it under UnitDefinitions."},
    {"unit-duplicate", Severity::error, "Names of units are unique.", "Remove one of them."},
    {"type-undefined", Severity::error, "Masters stop at a type that isn't defined, or is one of another kind.",
     "Define it under TypeDefinitions, with the variable's kind."},
    {"type-duplicate", Severity::error, "Names of types are unique, also among the variables.", "Rename one of them."},

    // Variables
    {"name-duplicate", Severity::error, "Masters find variables by their names.", "Rename one of them."},
    {"name-structured", Severity::error, "The description promises structured names, and masters check them.",
     "Write a name such as a.b[1] or der(a.b,2), or variableNamingConvention=\"flat\"."},
    {"name-flat", Severity::error, "Names hold no line feeds, carriage returns and tabs.", "Rename the variable."},
    {"causality-combination", Severity::error, "FMI 2.0 doesn't allow this combination, and masters refuse it.", ""},
    {"initial-forbidden", Severity::error, "Inputs and the independent variable have no attribute initial.",
     "Remove the attribute initial."},
    {"continuous-type", Severity::error, "Only reals are continuous, and continuous is the default.",
     "Write variability=\"discrete\", or \"fixed\" for a parameter."},
    {"start-missing", Severity::error, "Inputs and what is initially exact or approximate need a start value.",
     "Add the attribute start."},
    {"start-forbidden", Severity::error, "What is calculated, and the independent variable, has no start value.",
     "Remove the attribute start."},
    {"string-start-missing", Severity::warning, "Several masters fail or crash on a string that was never set.",
     "Add a start value, or leave the variable out."},
    {"min-max", Severity::error, "No value can satisfy both.", ""},
    {"start-range", Severity::error, "The start value breaks the variable's own limits.", ""},
    {"nominal", Severity::error, "A nominal value is above 0.", ""},
    {"derivative-index", Severity::error, "The attribute derivative is the index, from 1, of another real variable.",
     ""},
    {"alias-start", Severity::error, "Of variables that share a value only one may be set or have a start value.",
     "Give the variables value references of their own, or make the others outputs or locals without start."},
    {"alias-unit", Severity::error, "Variables that share a value have the same unit.", ""},
    {"parameter-tunable", Severity::warning, "Parameters reach the solver once, before it starts.",
     "Write variability=\"fixed\"."},
    {"start-precision", Severity::warning, "The value file has six decimals; what the master sets is rounded to them.",
     "Choose a unit in which the value is larger."},
    {"start-infinite", Severity::error, "The solver's translator gets a word, not a number.", "Give a finite value."},
    {"start-marker", Severity::warning, "The value marks a variable as never set: the model keeps its own value.",
     "Choose another value, if ever so little different."},
    {"start-lost", Severity::warning,
     "The library sets all values to 0 when initialization begins; only parameters reach the model.",
     "Write start=\"0\", or make it a parameter."},
    {"string-line-feed", Severity::error, "It breaks the line of the value file in two.", "Remove the line feed."},
    {"string-length", Severity::error, "The name of the result file has room for 1023 bytes.", "Shorten it."},

    // ModelStructure
    {"outputs-set", Severity::error, "Outputs lists exactly the variables with causality output, each once.", ""},
    {"initial-unknowns-set", Severity::error,
     "InitialUnknowns lists exactly the outputs, states and derivatives that are initially calculated or approximate, "
     "and the calculated parameters.",
     ""},
    {"unknown-index", Severity::error, "An index counts the variables from 1.", ""},
    {"unknown-order", Severity::error, "Each variable stands once, in ascending order.", ""},
    {"unknown-dependencies", Severity::error, "Masters read the two lists side by side, and as indices of variables.",
     ""},
    {"state-derivative", Severity::error, "What ModelStructure lists as a derivative has the attribute derivative.",
     ""},

    // Both parameter files
    {"parameter-file-missing", Severity::error, "The library can't tell the FMU's variables without it.", ""},
    {"parameter-zero-byte", Severity::error, "The library takes a line to end there.", "Write the file as plain text."},
    {"parameter-carriage-return", Severity::error, "The carriage return becomes part of every name.",
     "Write the file with plain line feeds."},
    {"parameter-final-line-feed", Severity::warning, "Readers look for the end of the last line.", "Add a line feed."},
    {"parameter-line-length", Severity::error, "What goes beyond spills into the next field or becomes the next line.",
     "Shorten the line."},
    {"parameter-number", Severity::error, "The library reads another number.",
     "Write a whole number from 0 to 2147483647."},
    {"parameter-trailing", Severity::warning, "The library reads the number and ignores the rest.", "Remove the rest."},

    // fmu2ts.par
    {"lines-missing", Severity::error, "The library takes the last line again for each that is missing.",
     "The file has 17 lines; write empty ones where there is nothing to say."},
    {"lines-extra", Severity::warning, "The library reads 17 lines; behind an additional one all others have moved.",
     ""},
    {"final-time", Severity::error, "The solver is told it when the master defines no stop time.",
     "Write a number above 0."},
    {"port-count", Severity::error, "The library has room for eight input and eight output ports.", ""},
    {"port-list", Severity::error, "The library takes a width and an offset for each port from these lines.",
     "Write one number for each port."},
    {"port-list-form", Severity::error, "Single tabs separate the numbers; blanks don't, and two tabs end the list.",
     "Write whole numbers with one tab between two."},
    {"port-empty", Severity::warning, "A port without signals transfers nothing.", "Remove the port."},
    {"port-range", Severity::error,
     "The library refuses to start the solver, which would write or read beside the values.",
     "An input port takes its width, an output port three times its width, of the reals that line 6 counts."},
    {"port-overlap", Severity::error, "What the one port writes destroys the other's values.",
     "An output port takes its width three times: values, first and second derivatives."},
    {"port-causality", Severity::error,
     "The solver reads input ports and writes output ports, whatever the description says.",
     "Move the port, or change the variable's causality."},
    {"port-undeclared", Severity::warning, "A master can't connect what isn't described.", "Describe the variables."},
    {"port-none", Severity::error, "Only reals in ports are exchanged with the solver during the run.",
     "Move the variable into a port, or make it a parameter."},
    {"value-unserved", Severity::warning, "Nobody writes the variable during the run: it stays 0.", "Leave it out."},
    {"derivative-place", Severity::error,
     "The library puts derivatives one and two port widths behind the output's value.",
     "Let derivative be the index, from 1, of the variable that lies one port width before, or move the derivative."},
    {"reference-range", Severity::error, "The library refuses every call with this value reference.",
     "Count the variable in fmu2ts.par, or correct its value reference."},
    {"count-unused", Severity::warning, "Memory is taken for variables that nobody can use.", ""},
    {"model-file-name", Severity::error, "The solver opens another file than the one that the library generates.", ""},
    {"result-file", Severity::warning,
     "A name without a folder ends in the resources, with most masters a temporary folder: the results are lost.",
     "Write ./ before the name for the master's working directory."},
    {"file-name-uri", Severity::error,
     "The name becomes part of a URI: what stands behind # or ? is cut, % is decoded, and blanks, umlauts, brackets "
     "and braces leave it unconverted.",
     "Use letters, digits, underscores, full stops and hyphens."},
    {"result-file-uri", Severity::warning, "The name is taken as a URI, or as a part of one: the results go elsewhere.",
     "Use letters, digits, underscores, full stops and hyphens."},
    {"solver-file-missing", Severity::error, "The solver is told to load it from the resources.",
     "Add the file, or empty line 12."},

    // mv.par
    {"names-count", Severity::error, "Everything behind is read as something else.", ""},
    {"names-short", Severity::error, "Values that are set without a name never reach the model.",
     "Give each variable a name, in the order of the value references."},
    {"names-long", Severity::warning, "Counts and names have probably moved against each other.", ""},
    {"names-extra", Severity::warning, "The library reads four lists and nothing behind them.", "Remove the lines."},
    {"name-empty", Severity::error, "The value reaches no variable of the model.", "Name the model's variable."},
    {"name-comma", Severity::error, "In the value file the name ends at the comma.", "Rename the model's variable."},
    {"name-blank", Severity::warning, "The solver's translator knows no such parameter: blanks count.",
     "Remove the blanks around the name."},
    {"name-shared", Severity::error, "Two values for one name stand in the value file, and one of them is lost.", ""},

    // The model
    {"model-name-scan", Severity::error,
     "The library finds the name by lines: 11 characters behind the first \"modelName\", up to the line's last quote.",
     "Put modelName=\"NAME\" at the end of a line of its own, without blanks around the equals sign."},
    {"model-name-characters", Severity::error, "The name reaches a shell and becomes the name of files.",
     "Use letters, digits, underscores, full stops and hyphens, and no hyphen at the start."},
    {"model-name-extension", Severity::error, "The library cuts the name at its first \".xml\".", "Rename the model."},
    {"model-name-length", Severity::error, "The library has room for 255 bytes with the extension.",
     "Rename the model."},
    {"template-missing", Severity::error, "The model file is made from it when the FMU starts.", ""},
    {"model-file-present", Severity::warning,
     "It is used as it stands, and start values set by the master are ignored.",
     "Remove it, unless that is what you want."},
    {"description-copy-missing", Severity::warning,
     "Some masters unpack only resources and binaries; the FMU then can't start.",
     "Copy modelDescription.xml into resources."},
    {"description-copy-differs", Severity::warning,
     "Masters that unpack only resources and binaries start with the other one.",
     "Copy modelDescription.xml into resources again."},
};

/// A rule of the table, by its name; a name that isn't there doesn't compile.
class RuleName {
public:
    consteval RuleName(const char* name) { // NOLINT(google-explicit-constructor): it stands for the text
        while (allRules[index_].name != name) ++index_;
    }
    constexpr const Rule& rule() const { return allRules[index_]; }
    constexpr std::size_t index() const { return index_; }

private:
    std::size_t index_ = 0;
};

} // namespace packaging::checking
