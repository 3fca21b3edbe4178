#ifndef RK_PRINT_H
#define RK_PRINT_H

#include <ostream>

namespace Rk {

enum PrintType
{
    PRINT_ERROR = 0,
    PRINT_WARNING = 1,
    PRINT_INFO = 2,
    PRINT_DEBUG = 3
};

/// The host's print facility: one process-wide instance that writes tagged
/// messages to a stream (std::cout unless the host sets another).
class Print
{
public:
    /// The one instance, created at the first call.
    static Print& instance();

    /// The stream into which one message is written by `functionName`. The
    /// tag "[TYPE] functionName: " is written first; the message follows
    /// unchanged. A null `functionName` writes the tag alone.
    std::ostream& ostream(PrintType type, const char* functionName);
    /// Where messages go; null discards them.
    void setStream(std::ostream* stream);

private:
    Print();
    Print(const Print&) = delete;
    Print& operator=(const Print&) = delete;

    std::ostream* m_stream;
    std::ostream m_discard;
};

} // namespace Rk

#endif
