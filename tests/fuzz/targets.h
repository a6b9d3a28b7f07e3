// What the fuzzers feed, a program for each: they abort when what must hold doesn't.
#pragma once

#include <string>

namespace fuzzing {

// The library
void fmu2ts_par(const std::string& text);
void lines(const std::string& text);
void location(const std::string& text);
void model_description(const std::string& text);
void mv_par(const std::string& text);
void numbers_and_texts(const std::string& text);

// The program
void archive(const std::string& text);
void description(const std::string& text);
void fmu(const std::string& text);
void library(const std::string& text);

} // namespace fuzzing
