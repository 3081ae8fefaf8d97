// The linear-algebra exports on small matrices with decoded descriptors:
// negative and inconsistent dimensions, ld < rows, offsets, NaN and infinite
// entries. Every caller array holds exactly the elements its descriptor names
// (for the exports that honour offset, from offset on) and is fenced at its
// end, so a touch beyond what the export may use faults. Any status is an
// acceptable answer; no export may throw.
#include "decode.h"

#include <korvane/core_math.h>

#include <algorithm>

using namespace kcmfuzz;

namespace {

MatrixDescriptor Descriptor(Decoder& d) {
    MatrixDescriptor m;
    m.offset = d.integer_in(0, 3);
    m.ld = d.integer_in(-2, 9);
    m.rows = d.integer_in(-2, 7);
    m.cols = d.integer_in(-2, 7);
    return m;
}

// Elements spanned by a rows x cols block at stride ld, from offset on.
int64_t Extent(int64_t offset, int64_t ld, int64_t rows, int64_t cols) {
    if (rows <= 0 || cols <= 0) return offset;
    return offset + (cols - 1) * std::max<int64_t>(ld, 0) + rows;
}

void Fill(Decoder& d, Fenced<double>& a) {
    for (int64_t i = 0; i < a.size(); ++i) a[i] = d.real();
}

int64_t Pos(int32_t v) { return v > 0 ? v : 0; }

template <class F>
void Call(const char* name, const Decoder& d, F&& f) {
    Guard(name, d, kNoThrow, f);
}

void Run(Decoder& d) {
    const uint8_t which = d.byte() % 13;
    MatrixDescriptor da = Descriptor(d), db = Descriptor(d), dc = Descriptor(d);
    const int32_t flag = d.integer_in(-1, 2);
    const int64_t m = Pos(da.rows), n = Pos(da.cols), mn = std::min(m, n);
    switch (which) {
    case 0: case 1: case 2: {  // square: order from cols, offset ignored
        Fenced<double> a(Extent(0, da.ld, n, n));
        Fenced<double> b(Extent(0, db.ld, n, Pos(db.cols)));
        Fill(d, a);
        Fill(d, b);
        const int32_t transpose = d.integer_in(-1, 2);
        if (which == 0) Call("Cholesky", d, [&] { Cholesky(flag, a.get(), &da); });
        if (which == 1)
            Call("CholeskySolve", d, [&] { CholeskySolve(flag, a.get(), &da, b.get(), &db); });
        if (which == 2)
            Call("SolveTriangularSystem", d, [&] {
                SolveTriangularSystem(a.get(), &da, flag, transpose, b.get(), &db);
            });
        break;
    }
    case 3: case 4: case 5: case 6: {  // QR family, offset honoured
        Fenced<double> a(Extent(da.offset, da.ld, m, n));
        Fill(d, a);
        // QR and QRP write min(m, n) scalars; QR_Q and QR_Qy read n of them.
        Fenced<double> tau(which <= 4 ? mn : n);
        Fill(d, tau);
        if (which == 3) Call("QR", d, [&] { QR(a.get(), &da, tau.get()); });
        if (which == 4) {
            Fenced<int32_t> jpvt(n);
            for (int64_t i = 0; i < n; ++i) jpvt[i] = d.integer_in(0, 1);
            Call("QRP", d, [&] { QRP(a.get(), &da, tau.get(), jpvt.get()); });
        }
        if (which == 5) Call("QR_Q", d, [&] { QR_Q(a.get(), &da, tau.get()); });
        if (which == 6) {
            Fenced<double> c(Extent(dc.offset, dc.ld, m, Pos(dc.cols)));
            Fill(d, c);
            Call("QR_Qy", d, [&] { QR_Qy(a.get(), &da, flag, tau.get(), c.get(), &dc); });
        }
        break;
    }
    case 7: case 8: {  // least squares: B holds max(m, n) rows
        const int64_t nrhs = Pos(db.cols);
        Fenced<double> a(Extent(da.offset, da.ld, m, n));
        Fenced<double> b(Extent(db.offset, db.ld, std::max(m, n), nrhs));
        Fill(d, a);
        Fill(d, b);
        if (which == 7) {
            Call("LS", d, [&] { LS(a.get(), &da, b.get(), &db); });
        } else {
            // C takes the n x nrhs solution; the copy of each right-hand side
            // starts one element further on (see OLS).
            const int64_t c_extent = nrhs > 0 && n > 0
                ? std::max(Extent(dc.offset, dc.ld, n, nrhs), dc.offset + nrhs - 1 + n)
                : dc.offset;
            Fenced<double> c(c_extent);
            Fenced<double> tau(mn);
            const double tol = d.real();
            Call("OLS", d, [&] { OLS(a.get(), &da, b.get(), &db, c.get(), &dc, tau.get(), tol); });
        }
        break;
    }
    case 9: {  // Xb: no checks; the caller keeps ld >= 0
        MatrixDescriptor dx = da;
        dx.ld = std::max(dx.ld, 0);
        Fenced<double> x(Extent(0, dx.ld, m, n));
        Fenced<double> beta(n), y(m);
        Fill(d, x);
        Fill(d, beta);
        Fill(d, y);
        double r = 0;
        Call("Xb", d, [&] { r = Xb(x.get(), &dx, beta.get(), y.get()); });
        (void)r;
        break;
    }
    case 10: {  // EigenSymmetric: order from cols, Z may be absent
        Fenced<double> a(Extent(0, da.ld, n, n));
        Fenced<double> w(n);
        Fill(d, a);
        const bool with_z = flag & 1;
        Fenced<double> z(with_z ? Extent(0, db.ld, n, n) : 0);
        int32_t found = -7;
        Call("EigenSymmetric", d, [&] {
            EigenSymmetric(a.get(), &da, w.get(), &found, with_z ? z.get() : nullptr, &db);
        });
        break;
    }
    case 11: case 12: {  // SVD: U m x m or m x min, VT n x n or min x n
        const bool full = which == 11;
        Fenced<double> a(Extent(0, da.ld, m, n));
        Fenced<double> s(mn);
        Fenced<double> u(Extent(0, db.ld, m, full ? m : mn));
        Fenced<double> vt(Extent(0, dc.ld, full ? n : mn, n));
        Fill(d, a);
        if (full)
            Call("FullSVD", d, [&] { FullSVD(a.get(), &da, s.get(), u.get(), &db, vt.get(), &dc); });
        else
            Call("ThinSVD", d, [&] { ThinSVD(a.get(), &da, s.get(), u.get(), &db, vt.get(), &dc); });
        break;
    }
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // One thread inside the math library: the fuzzer runs one input at a time.
    DisableMKLThreading();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Decoder d(data, size);
    Run(d);
    return 0;
}
