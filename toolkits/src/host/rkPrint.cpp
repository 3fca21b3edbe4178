#include "rkPrint.h"

#include <iostream>

namespace Rk {

namespace {

const char* tagOf(PrintType type)
{
    switch (type) {
    case PRINT_ERROR:
        return "[ERROR] ";
    case PRINT_WARNING:
        return "[WARNING] ";
    case PRINT_INFO:
        return "[INFO] ";
    case PRINT_DEBUG:
        return "[DEBUG] ";
    }
    return "[?] ";
}

} // namespace

// A stream without a buffer sets badbit on every write and so drops it.
Print::Print() : m_stream(&std::cout), m_discard(nullptr) {}

Print& Print::instance()
{
    static Print print;
    return print;
}

std::ostream& Print::ostream(PrintType type, const char* functionName)
{
    std::ostream& out = m_stream ? *m_stream : m_discard;
    out << tagOf(type);
    if (functionName)
        out << functionName << ": ";
    return out;
}

void Print::setStream(std::ostream* stream)
{
    m_stream = stream;
}

} // namespace Rk
