// kcm: evaluate any export of the library from the shell.
//
//   kcm NormalICDF 0.975 0 1 0
//   kcm --help
//
//   kcm NormalICDF --help
//
// The value is printed to 17 significant digits, followed by the errno the
// call left behind (it is set to 0 first), or the type and message of an
// exception that escaped the library.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <typeinfo>

#include <cxxabi.h>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {

const std::vector<Command>& registry()
{
    static const std::vector<Command> commands = {
#include "kcm_commands.inc"
    };
    return commands;
}

double parse_double(const std::string& word)
{
    char* end = nullptr;
    const double v = std::strtod(word.c_str(), &end);
    if (word.empty() || *end != '\0') throw std::invalid_argument("not a number: " + word);
    return v;
}

int32_t parse_int(const std::string& word)
{
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(word.c_str(), &end, 0);
    if (word.empty() || *end != '\0' || errno != 0 || v < INT32_MIN || v > INT32_MAX)
        throw std::invalid_argument("not a 32-bit integer: " + word);
    return static_cast<int32_t>(v);
}

uint32_t parse_uint(const std::string& word)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(word.c_str(), &end, 0);
    if (word.empty() || word[0] == '-' || *end != '\0' || errno != 0 || v > UINT32_MAX)
        throw std::invalid_argument("not an unsigned 32-bit integer: " + word);
    return static_cast<uint32_t>(v);
}

std::vector<double> parse_doubles(const std::string& word)
{
    std::vector<double> values;
    std::size_t start = 0;
    while (start <= word.size()) {
        const std::size_t comma = std::min(word.find(',', start), word.size());
        values.push_back(parse_double(word.substr(start, comma - start)));
        start = comma + 1;
    }
    return values;
}

void print_value(const char* label, double v)
{
    std::printf("%s = %.17g\n", label, v);
}

void print_errno(int err)
{
    if (err == 0)
        std::printf("errno = 0\n");
    else
        std::printf("errno = %d (%s)\n", err, std::strerror(err));
}

namespace {

std::string demangled_type(const std::exception& e)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : typeid(e).name();
}

void print_help()
{
    std::printf("usage: kcm <Export> <arguments...>\n"
                "Evaluates one export of libKorvaneCoreMath and prints the value, the errno\n"
                "it left, or the exception that escaped. Tail flags: 0 lower, nonzero upper.\n"
                "Arrays are written as comma-separated lists, e.g. 0.7071,0.7071;\n"
                "matrices and streams as each command's usage line below shows.\n"
                "Exit status: 0 value printed, 1 exception, 2 usage error.\n"
                "Reference: docs/README.md in the source tree.\n");
    std::string family;
    for (const auto& c : registry()) {
        if (c.family != family) std::printf("\n%s:\n", (family = c.family).c_str());
        std::printf("  %-26s %s\n", c.name.c_str(), c.usage.c_str());
    }
}

void print_command_help(const Command& c)
{
    std::printf("usage: kcm %s %s\n%s;\nFamily: %s.\nErrors: %s.\n", c.name.c_str(),
                c.usage.c_str(), c.signature.c_str(), c.family.c_str(), c.errors.c_str());
}

}  // namespace

}  // namespace kcm::cli

int main(int argc, char** argv)
{
    using namespace kcm::cli;
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        print_help();
        return argc < 2 ? 2 : 0;
    }
    const auto& commands = registry();
    auto it = std::find_if(commands.begin(), commands.end(),
                           [&](const Command& c) { return c.name == argv[1]; });
    if (it == commands.end()) {
        std::fprintf(stderr, "kcm: unknown export '%s' (see kcm --help)\n", argv[1]);
        return 2;
    }
    const std::vector<std::string> words(argv + 2, argv + argc);
    if (words.size() == 1 && (words[0] == "--help" || words[0] == "-h")) {
        print_command_help(*it);
        return 0;
    }
    try {
        it->run(words);
    } catch (const std::invalid_argument& e) {
        std::fprintf(stderr, "kcm: %s: %s\nusage: kcm %s %s\n", argv[1], e.what(),
                     it->name.c_str(), it->usage.c_str());
        return 2;
    } catch (const std::exception& e) {
        // An exception that left the library: report it as a host would see it.
        std::printf("exception %s: %s\n", demangled_type(e).c_str(), e.what());
        return 1;
    }
    return 0;
}
