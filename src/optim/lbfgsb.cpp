// The stepwise L-BFGS-B minimiser: a reverse-communication wrapper that lets
// the host drive the setulb routine of L-BFGS-B 3.0 one call at a time,
// evaluating the objective and its gradient itself.
//
// References: R. H. Byrd, P. Lu, J. Nocedal and C. Zhu, "A limited memory
// algorithm for bound constrained optimization", SIAM J. Sci. Comput. 16(5),
// 1995, doi:10.1137/0916069; J. L. Morales and J. Nocedal, "Remark on
// Algorithm 778", ACM TOMS 38(1), 2011, doi:10.1145/2049662.2049669 (version 3.0).
//
// The record keeps everything setulb needs between calls. No argument is
// checked here: the solver reports a bad n, m or bound type through its task
// word ("ERROR: N .LE. 0", "ERROR: INVALID NBD", ...), which becomes
// KCM_LBFGSB_ERROR.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "korvane/core_math.h"

// L-BFGS-B 3.0, FORTRAN 77 (liblbfgsb): default INTEGER and LOGICAL are 32-bit,
// every argument is by reference, and the lengths of the two CHARACTER*60
// arguments (task, csave) follow as hidden trailing arguments (size_t, gfortran).
extern "C" void setulb_(const int32_t* n, const int32_t* m, double* x, const double* l,
                        const double* u, const int32_t* nbd, double* f, double* g,
                        const double* factr, const double* pgtol, double* wa, int32_t* iwa,
                        char* task, const int32_t* iprint, char* csave, int32_t* lsave,
                        int32_t* isave, double* dsave, std::size_t task_length,
                        std::size_t csave_length);

namespace {

constexpr std::size_t kWordLength = 60;  // CHARACTER*60 task and csave
constexpr int32_t kSilent = -1;          // iprint < 0: the solver prints nothing
constexpr int kSaveIntegers = 44;
constexpr int kSaveDoubles = 29;
// The task word of a record whose blocks could not be allocated.
constexpr const char* kNoWorkspace = "ERROR: WORKSPACE NOT ALLOCATED";

}  // namespace

// Opaque to the host, which only holds the pointer. The field order is the
// library's own and fixed: the solver's save words rely on lsave and isave
// being adjacent (the static_assert below).
struct LbfgsbState {
    int32_t n;
    int32_t m;
    double* x;      // filled from the host at every step
    double* l;
    double* u;
    int32_t* nbd;   // 0 unbounded, 1 lower only, 2 both, 3 upper only
    double f;
    double* g;
    double factr;
    double pgtol;
    double* wa;     // (2m + 5)n + 11m^2 + 8m doubles
    int32_t* iwa;   // 3n integers
    char task[kWordLength + 1];  // blank-padded word and a NUL, for reading as a C string
    int32_t iprint;
    char csave[kWordLength];
    // Deliberate: one word where the solver keeps four logicals; the other
    // three land in isave(1..3), which setulb only uses while starting.
    int32_t lsave;
    int32_t isave[kSaveIntegers];
    double dsave[kSaveDoubles];
};

static_assert(offsetof(LbfgsbState, isave) == offsetof(LbfgsbState, lsave) + sizeof(int32_t),
              "isave must follow lsave at once");

namespace {

void set_task(LbfgsbState* s, const char* word)
{
    const std::size_t length = std::strlen(word);
    std::memcpy(s->task, word, length);
    std::memset(s->task + length, ' ', kWordLength - length);
}

bool task_begins(const LbfgsbState* s, const char* prefix)
{
    return std::strncmp(s->task, prefix, std::strlen(prefix)) == 0;
}

void call_setulb(LbfgsbState* s)
{
    setulb_(&s->n, &s->m, s->x, s->l, s->u, s->nbd, &s->f, s->g, &s->factr, &s->pgtol, s->wa,
            s->iwa, s->task, &s->iprint, s->csave, &s->lsave, s->isave, s->dsave, kWordLength,
            kWordLength);
}

bool blocks_allocated(const LbfgsbState* s)
{
    return s->x && s->l && s->u && s->nbd && s->g && s->wa && s->iwa;
}

// malloc of count elements. A negative count is a request no allocator
// grants: it is refused here without asking, the same null block malloc would
// give for the near-2^64 size it becomes (a size memory checkers report as an
// error of its own).
template <typename T>
T* allocate(int64_t count)
{
    if (count < 0) return nullptr;
    return static_cast<T*>(std::malloc(static_cast<std::size_t>(count) * sizeof(T)));
}

void copy_doubles(double* to, const double* from, int32_t n)
{
    if (n > 0) std::memcpy(to, from, static_cast<std::size_t>(n) * sizeof(double));
}

}  // namespace

// Allocations are not checked, and factr and pgtol have no defaults.
extern "C" LbfgsbState* LBFGSBStart(int32_t n, int32_t m, const double* l, const double* u,
                                   const int32_t* nbd, double factr, double pgtol)
{
    // Zeroed, so that a record ended before its first step hands the solver a
    // defined (if unused) saved state.
    auto* s = static_cast<LbfgsbState*>(std::calloc(1, sizeof(LbfgsbState)));
    s->n = n;
    s->m = m;
    s->x = allocate<double>(n);
    s->l = allocate<double>(n);
    s->u = allocate<double>(n);
    s->nbd = allocate<int32_t>(n);
    s->g = allocate<double>(n);
    // Deliberate: the workspace count is formed in 32-bit arithmetic (wrapping,
    // without UB) and only then widened. Where the exact count of a valid n and
    // m does not fit 32 bits, the wrapped block would be smaller than what the
    // solver indexes: none is allocated, and the first step reports it.
    const uint32_t un = static_cast<uint32_t>(n), um = static_cast<uint32_t>(m);
    const auto wa_count = static_cast<int32_t>((11 * um + 2 * (un + 4)) * um + 5 * un);
    // The exact count overflows even 64 bits for m near 2^31: such a count
    // certainly differs from the wrapped one.
    int64_t exact_count = 0;
    const bool exact_fits =
        !__builtin_mul_overflow(11 * int64_t(m) + 2 * (int64_t(n) + 4), int64_t(m), &exact_count) &&
        !__builtin_add_overflow(exact_count, 5 * int64_t(n), &exact_count);
    s->wa = n > 0 && m > 0 && (!exact_fits || exact_count != wa_count) ? nullptr
                                                                        : allocate<double>(wa_count);
    s->iwa = allocate<int32_t>(3 * static_cast<int64_t>(n));

    copy_doubles(s->l, l, n);
    copy_doubles(s->u, u, n);
    if (n > 0) std::memcpy(s->nbd, nbd, static_cast<std::size_t>(n) * sizeof(int32_t));
    if (n > 0) std::memset(s->g, 0, static_cast<std::size_t>(n) * sizeof(double));

    s->factr = factr;
    s->pgtol = pgtol;
    s->f = 0.0;
    s->iprint = kSilent;
    s->task[kWordLength] = '\0';
    set_task(s, "START");
    return s;
}

// One solver call: x, f and g in, x, f and g out, the task word as a code.
extern "C" int32_t LBFGSBStep(LbfgsbState* state, double* x, double* f, double* g)
{
    const int32_t n = state->n;
    // Sizes the solver accepts but whose blocks could not be had (a workspace
    // beyond 32 bits, or memory refused): an error of its own, without a call.
    if (n > 0 && state->m > 0 && !blocks_allocated(state)) {
        set_task(state, kNoWorkspace);
        return KCM_LBFGSB_ERROR;
    }
    copy_doubles(state->x, x, n);
    copy_doubles(state->g, g, n);
    state->f = *f;

    call_setulb(state);

    copy_doubles(x, state->x, n);
    copy_doubles(g, state->g, n);
    *f = state->f;

    if (task_begins(state, "FG")) return KCM_LBFGSB_EVALUATE;
    if (task_begins(state, "NEW_X")) return KCM_LBFGSB_NEW_ITERATE;
    if (task_begins(state, "CONV")) return KCM_LBFGSB_CONVERGED;
    if (task_begins(state, "ABNO")) return KCM_LBFGSB_ABNORMAL;
    if (task_begins(state, "ERROR")) return KCM_LBFGSB_ERROR;
    return KCM_LBFGSB_OTHER;
}

// A run stopped by the host (after 1, 2 or a warning) is ended in order with a
// "STOP" call before the record is freed.
extern "C" void LBFGSBEnd(LbfgsbState* state)
{
    if (!task_begins(state, "CONV") && !task_begins(state, "ABNO") &&
        !task_begins(state, "ERROR")) {
        set_task(state, "STOP");
        call_setulb(state);
    }
    std::free(state->x);
    std::free(state->l);
    std::free(state->u);
    std::free(state->nbd);
    std::free(state->g);
    std::free(state->wa);
    std::free(state->iwa);
    std::free(state);
}
