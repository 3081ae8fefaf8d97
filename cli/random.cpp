// kcm commands: random streams. A stream lives only as long as one kcm run,
// so the stream commands take the seed in place of a handle: each creates the
// stream, skips ahead if asked, calls the export, prints what it drew and the
// status, and deletes the stream.
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "command.hpp"
#include "korvane/core_math.h"

namespace kcm::cli {
namespace {

void check_count(const Words& words, std::size_t least, std::size_t most)
{
    if (words.size() < least || words.size() > most)
        throw UsageError("expected " + std::to_string(least) + " or " + std::to_string(most) +
                         " arguments, got " + std::to_string(words.size()));
}

int32_t parse_length(const std::string& word)
{
    const int32_t n = parse_int(word);
    if (n > 1000000) throw UsageError("at most 1000000 values: " + word);
    return n;
}

// A Vector Statistics status: 0 is success.
void record_status(Output& out, const char* label, int32_t status)
{
    out.status(label, status, status == 0);
}

// seed n a b [nskip]: creates the stream, skips ahead if asked, draws, and
// deletes the stream. The values are recorded only when the draw succeeded.
template <typename T, typename A>
Runner stream_command(int32_t (*fn)(RandomStream, T*, int32_t, A, A), std::string usage)
{
    return Runner{usage, [fn](const Words& words, Output& out) {
        check_count(words, 4, 5);
        const uint32_t seed = parse_uint(words[0]);
        const int32_t n = parse_length(words[1]);
        const A a = parse_arg<A>(words[2], Param{"a"}), b = parse_arg<A>(words[3], Param{"b"});
        const std::optional<int32_t> nskip =
            words.size() == 5 ? std::optional<int32_t>(parse_int(words[4])) : std::nullopt;
        RandomStream h = CreateRandomStream(seed);
        if (nskip) record_status(out, "skip_status", SkipAheadStream(h, *nskip));
        std::vector<T> r(n > 0 ? n : 0);
        const int32_t status = fn(h, r.data(), n, a, b);
        if (status == 0) {
            if constexpr (std::is_integral_v<T>)
                out.integers("values", r);
            else
                out.numbers("values", r);
        }
        record_status(out, "status", status);
        DeleteRandomStream(h);
    }};
}

// seed nskip: skips ahead and draws the next uniform to show where it landed.
void skip_ahead(const Words& words, Output& out)
{
    expect_count(words, 2);
    const uint32_t seed = parse_uint(words[0]);
    const int32_t nskip = parse_int(words[1]);
    RandomStream h = CreateRandomStream(seed);
    record_status(out, "status", SkipAheadStream(h, nskip));
    double next = 0;
    record_status(out, "uniform_status", GenerateRandomUniform(h, &next, 1, 0, 1));
    out.number("next_uniform", next);
    DeleteRandomStream(h);
}

// Creates the stream and deletes it again.
void create_and_delete(const Words& words, Output& out)
{
    expect_count(words, 1);
    RandomStream h = CreateRandomStream(parse_uint(words[0]));
    out.status("handle", h != nullptr, h != nullptr, h ? "created" : "null");
    record_status(out, "status", DeleteRandomStream(h));
}

void one_shot(const Words& words, Output& out)
{
    expect_count(words, 4);
    const int32_t n = parse_length(words[0]);
    const double mean = parse_double(words[1]), sigma = parse_double(words[2]);
    const uint32_t seed = parse_uint(words[3]);
    std::vector<double> r(n > 0 ? n : 0);
    const int32_t status = RandomNormalVariable(r.data(), n, mean, sigma, seed);
    if (status == 0) out.numbers("values", r);
    record_status(out, "status", status);
}

void one_shot_blocks(const Words& words, Output& out)
{
    expect_count(words, 5);
    const int32_t n = parse_length(words[0]), count = parse_length(words[1]);
    const double mean = parse_double(words[2]), sigma = parse_double(words[3]);
    const uint32_t seed = parse_uint(words[4]);
    const int64_t total = int64_t(n > 0 ? n : 0) * (count > 0 ? count : 0);
    if (total > 1000000) throw UsageError("at most 1000000 values in all");
    std::vector<double> r(total);
    const int32_t status = RandomNormalVariables(r.data(), n, count, mean, sigma, seed);
    // One block per row: r holds the blocks one after another.
    std::vector<double> rows(r.size());
    for (int32_t k = 0; k < count && n > 0; ++k)
        for (int32_t i = 0; i < n; ++i) rows[std::size_t(i) * count + k] = r[std::size_t(k) * n + i];
    if (status == 0 && total > 0) out.matrix("blocks", rows.data(), count, count, n);
    record_status(out, "status", status);
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
