// kcm commands: random streams. A stream lives only as long as one kcm run,
// so the stream commands take the seed in place of a handle: each creates the
// stream, skips ahead if asked, calls the export, prints what it drew and the
// status, and deletes the stream.
#include <string>
#include <type_traits>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

void check_count(const std::vector<std::string>& words, std::size_t least, std::size_t most)
{
    if (words.size() < least || words.size() > most)
        throw std::invalid_argument("expected " + std::to_string(least) +
                                    (most > least ? " or " + std::to_string(most) : "") +
                                    " arguments");
}

int32_t parse_length(const std::string& word)
{
    const int32_t n = parse_int(word);
    if (n > 1000000) throw std::invalid_argument("at most 1000000 values: " + word);
    return n;
}

template <typename T>
void print_values(const char* label, const std::vector<T>& r, int32_t n)
{
    std::printf("%s =", label);
    for (int32_t i = 0; i < n && i < static_cast<int32_t>(r.size()); ++i) {
        if constexpr (std::is_integral_v<T>)
            std::printf(" %d", static_cast<int>(r[i]));
        else
            std::printf(" %.17g", static_cast<double>(r[i]));
    }
    std::printf("\n");
}

void print_status(const char* label, int32_t status) { std::printf("%s = %d\n", label, status); }

// Opens the stream for a command's trailing optional nskip word.
RandomStream open_stream(const std::vector<std::string>& words, std::size_t skip_word)
{
    RandomStream h = CreateRandomStream(parse_uint(words[0]));
    if (words.size() > skip_word) print_status("SkipAheadStream", SkipAheadStream(h, parse_int(words[skip_word])));
    return h;
}

template <typename T, typename A>
Runner stream_command(int32_t (*fn)(RandomStream, T*, int32_t, A, A), std::string usage)
{
    return Runner{usage, [fn](const Words& words) {
        check_count(words, 4, 5);
        const int32_t n = parse_length(words[1]);
        const A a = parse_arg<A>(words[2]), b = parse_arg<A>(words[3]);
        RandomStream h = open_stream(words, 4);
        std::vector<T> r(n > 0 ? n : 0);
        const int32_t status = fn(h, r.data(), n, a, b);
        print_values("values", r, status == 0 ? n : 0);
        print_status("status", status);
        DeleteRandomStream(h);
    }};
}

void skip_ahead(const Words& words)
{
    check_count(words, 2, 2);
    RandomStream h = CreateRandomStream(parse_uint(words[0]));
    print_status("status", SkipAheadStream(h, parse_int(words[1])));
    std::vector<double> next(1);
    GenerateRandomUniform(h, next.data(), 1, 0, 1);
    print_values("next uniform", next, 1);
    DeleteRandomStream(h);
}

// Creates the stream and deletes it again.
void create_and_delete(const Words& words)
{
    check_count(words, 1, 1);
    RandomStream h = CreateRandomStream(parse_uint(words[0]));
    std::printf("handle %s\n", h ? "created" : "null");
    print_status("DeleteRandomStream", DeleteRandomStream(h));
}

void one_shot(const Words& words)
{
    check_count(words, 4, 4);
    const int32_t n = parse_length(words[0]);
    std::vector<double> r(n > 0 ? n : 0);
    const int32_t status = RandomNormalVariable(r.data(), n, parse_double(words[1]),
                                                parse_double(words[2]),
                                                parse_uint(words[3]));
    print_values("values", r, n);
    print_status("status", status);
}

void one_shot_blocks(const Words& words)
{
    check_count(words, 5, 5);
    const int32_t n = parse_length(words[0]), count = parse_length(words[1]);
    const int64_t total = int64_t(n > 0 ? n : 0) * (count > 0 ? count : 0);
    if (total > 1000000) throw std::invalid_argument("at most 1000000 values in all");
    std::vector<double> r(total);
    const int32_t status =
        RandomNormalVariables(r.data(), n, count, parse_double(words[2]),
                              parse_double(words[3]), parse_uint(words[4]));
    for (int32_t k = 0; k < count && n > 0; ++k) {
        std::printf("block %d =", k);
        for (int32_t i = 0; i < n; ++i) std::printf(" %.17g", r[int64_t(k) * n + i]);
        std::printf("\n");
    }
    print_status("status", status);
}


}  // namespace

const Runner run::CreateRandomStream{"seed", create_and_delete};
const Runner run::DeleteRandomStream{"seed", create_and_delete};
const Runner run::SkipAheadStream{"seed nskip", skip_ahead};
const Runner run::GenerateRandomNormal = stream_command<double, double>(
    ::GenerateRandomNormal, "seed n mean sigma [nskip]");
const Runner run::GenerateRandomUniform = stream_command<double, double>(
    ::GenerateRandomUniform, "seed n a b [nskip]");
const Runner run::RandomUniformInteger = stream_command<int32_t, int32_t>(
    ::RandomUniformInteger, "seed n a b [nskip]");
const Runner run::RandomNormalVariable{"n mean sigma seed", one_shot};
const Runner run::RandomNormalVariables{"n count mean sigma seed", one_shot_blocks};

}  // namespace kcm::cli
