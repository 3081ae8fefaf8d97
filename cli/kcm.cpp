// kcm: evaluate any export of the library from the shell.
//
//   kcm NormalICDF 0.975 0 1 0
//   kcm --value NormalICDF 0.975 0 1 0      the number alone
//   kcm --json NormalCDF 1.96 0 1 1         one JSON object
//   kcm --batch < calls.txt                 one call per line
//   kcm --help | --version | NormalICDF --help
//
// The value is printed to 17 significant digits, followed by the errno the
// call left behind (it is set to 0 first), or the type and message of an
// exception that escaped the library. The exit status tells which.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>
#include <exception>
#include <iostream>
#include <iterator>
#include <memory>
#include <sstream>
#include <typeinfo>

#include <unistd.h>

#include "command.hpp"
#include "guard.hpp"
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
    if (word.empty() || *end != '\0') throw UsageError("not a number: " + word);
    return v;
}

int32_t parse_int(const std::string& word)
{
    char* end = nullptr;
    errno = 0;
    const long long v = std::strtoll(word.c_str(), &end, 0);
    if (word.empty() || *end != '\0' || errno != 0 || v < INT32_MIN || v > INT32_MAX)
        throw UsageError("not a 32-bit integer: " + word);
    return static_cast<int32_t>(v);
}

uint32_t parse_uint(const std::string& word)
{
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = std::strtoull(word.c_str(), &end, 0);
    if (word.empty() || word[0] == '-' || *end != '\0' || errno != 0 || v > UINT32_MAX)
        throw UsageError("not an unsigned 32-bit integer: " + word);
    return static_cast<uint32_t>(v);
}

bool parse_flag(const std::string& word, const std::string& name)
{
    if (word == "0" || word == "false") return false;
    if (word == "1" || word == "true") return true;
    throw UsageError(name + ": a flag is 0 or 1 (false or true), not " + word);
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

void expect_count(const Words& words, std::size_t count)
{
    if (words.size() != count)
        throw UsageError("expected " + std::to_string(count) + " argument" +
                         (count == 1 ? "" : "s") + ", got " + std::to_string(words.size()));
}

namespace {

constexpr int kUsageStatus = 64;  // EX_USAGE of <sysexits.h>

// Where the answers go: standard output, kept apart from what the library
// prints there itself (MKL's report of an illegal LAPACK argument), which
// would break --value and --json; see keep_answers_apart.
std::FILE* answers = stdout;

// Moves the answers to a duplicate of standard output and points the
// process's standard output at standard error.
void keep_answers_apart()
{
    std::fflush(stdout);
    const int fd = dup(STDOUT_FILENO);
    std::FILE* file = fd >= 0 ? fdopen(fd, "w") : nullptr;
    if (!file || dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        if (file) std::fclose(file);
        return;  // the answers stay on stdout, shared with the library
    }
    answers = file;
}

// A usage error, on standard error; line > 0 names the batch line.
int usage_error(int line, const std::string& message, const std::string& usage = {})
{
    std::fflush(answers);  // keep the order of a batch's answers and errors
    if (line > 0)
        std::fprintf(stderr, "kcm: line %d: %s\n", line, message.c_str());
    else
        std::fprintf(stderr, "kcm: %s\n", message.c_str());
    if (!usage.empty()) std::fprintf(stderr, "usage: kcm %s\n", usage.c_str());
    return kUsageStatus;
}

const Command* find_command(const std::string& name)
{
    const auto& commands = registry();
    auto it = std::find_if(commands.begin(), commands.end(),
                           [&](const Command& c) { return c.name == name; });
    return it == commands.end() ? nullptr : &*it;
}

// One call of an export: prints what it produced, returns the exit status.
int call(const std::string& name, const Words& args, Mode mode, int line)
{
    const Command* c = find_command(name);
    if (!c) return usage_error(line, "unknown export '" + name + "' (see kcm --help)");
    Output out;
    try {
        c->run(args, out);
    } catch (const UsageError& e) {
        return usage_error(line, c->name + ": " + e.what(), c->name + " " + c->usage);
    } catch (const std::exception& e) {
        // An exception that left the library: report it as a host would see it.
        out.set_exception(kcm::nothrow::exception_type(e), e.what());
    } catch (...) {
        out.set_exception("unknown", "an exception not derived from std::exception");
    }
    out.print(answers, mode, c->name, args, line);
    return out.exit_status();
}

// Calls from standard input, one per line; blank lines and '#' comments are
// skipped. Every line is answered; the exit status is the worst of them.
int batch(Mode mode)
{
    int worst = 0;
    std::string text;
    for (int line = 1; std::getline(std::cin, text); ++line) {
        std::istringstream in(text);
        Words words{std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
        if (words.empty() || words[0][0] == '#') continue;
        const Words args(words.begin() + 1, words.end());
        worst = std::max(worst, call(words[0], args, mode, line));
    }
    return worst;
}

void print_help()
{
    std::printf(
        "usage: kcm [--value | --json] <Export> <arguments...>\n"
        "       kcm [--value | --json] --batch < calls\n"
        "       kcm <Export> --help | kcm --help | kcm --version\n"
        "Evaluates exports of libKorvaneCoreMath and prints the value, the errno\n"
        "it left, or the exception that escaped.\n"
        "  --value   the numbers alone, one per line, to 17 digits (matrices row by\n"
        "            row); no errno or status codes (see the exit status)\n"
        "  --json    one JSON object per call: export, args, value and/or values,\n"
        "            codes, errno, exception {type, message}, exit_status; NaN\n"
        "            and infinities as the strings \"nan\", \"inf\", \"-inf\"\n"
        "  --batch   one call per line from standard input ('NormalCDF 1.96 0 1 1');\n"
        "            blank lines and '#' comments skipped; a bad line is reported\n"
        "            on standard error with its number and the batch goes on\n"
        "Flags (tail flags, upper, transpose): 0 or 1, false or true.\n"
        "Arrays are written as comma-separated lists, e.g. 0.7071,0.7071;\n"
        "matrices and streams as each command's usage line below shows.\n"
        "Exit status: 0 success; 1 the call set errno (EDOM, ERANGE) or returned a\n"
        "failure code (LAPACK INFO, stream status, optimiser not converged);\n"
        "2 an exception escaped the library; 64 usage error (unknown export,\n"
        "wrong argument count, malformed number, bad flag). A batch exits with\n"
        "the worst status of its lines.\n"
        "Reference: docs/README.md in the source tree.\n");
    std::string family;
    for (const auto& c : registry()) {
        if (c.family != family) std::printf("\n%s:\n", (family = c.family).c_str());
        std::printf("  %-26s %s\n", c.name.c_str(), c.usage.c_str());
    }
}

void print_command_help(const Command& c)
{
    std::fprintf(answers, "usage: kcm %s %s\n%s;\nFamily: %s.\nErrors: %s.\n", c.name.c_str(),
                 c.usage.c_str(), c.signature.c_str(), c.family.c_str(), c.errors.c_str());
}

}  // namespace

}  // namespace kcm::cli

int main(int argc, char** argv)
{
    using namespace kcm::cli;
    Mode mode = Mode::kText;
    bool batch_mode = false, mode_set = false;
    int i = 1;
    for (; i < argc && argv[i][0] == '-' && argv[i][1] == '-'; ++i) {
        const std::string option = argv[i];
        if (option == "--help") {
            print_help();
            return 0;
        }
        if (option == "--version") {
            std::printf("kcm %s\n", KCM_VERSION);
            return 0;
        }
        if (option == "--batch") {
            batch_mode = true;
            continue;
        }
        if (option != "--value" && option != "--json")
            return usage_error(0, "unknown option '" + option + "' (see kcm --help)");
        const Mode m = option == "--value" ? Mode::kValue : Mode::kJson;
        if (mode_set && m != mode) return usage_error(0, "--value and --json exclude each other");
        mode = m;
        mode_set = true;
    }
    if (i < argc && !std::strcmp(argv[i], "-h")) {
        print_help();
        return 0;
    }
    keep_answers_apart();
    if (batch_mode) {
        if (i < argc) return usage_error(0, "--batch reads its calls from standard input");
        return batch(mode);
    }
    if (i == argc)
        return usage_error(0, "no export given (see kcm --help)",
                           "[--value | --json] <Export> <arguments...>");
    const std::string name = argv[i];
    const Words words(argv + i + 1, argv + argc);
    if (words.size() == 1 && (words[0] == "--help" || words[0] == "-h")) {
        const Command* c = find_command(name);
        if (!c) return usage_error(0, "unknown export '" + name + "' (see kcm --help)");
        print_command_help(*c);
        return 0;
    }
    return call(name, words, mode, 0);
}
