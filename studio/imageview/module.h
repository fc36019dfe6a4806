#pragma once

#include <QFunctionPointer>

#include <string>

/// The function `name` of the program's own module `module`, a library beside the program that is loaded on first use
/// and stays. Throws Vorta::IOException when it is missing: `failure`, and why.
QFunctionPointer moduleFunction(const char* module, const char* name, const std::string& failure);
