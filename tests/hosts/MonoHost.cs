// A managed host: the library called from Mono through the generated .NET
// declarations (KorvaneCoreMath.cs, from src/exports.table): one-byte flags
// as U1 booleans, 32-bit flags as int, MatrixDescriptor as a sequential
// struct by reference, streams and optimiser records as SafeHandles.
// Mono finds the library through LD_LIBRARY_PATH by its soname and loads it
// into the global scope (.NET's own loader, like ctypes, loads privately: the
// C and ctypes hosts cover that). One export of every family, each checked.
using System;
using Korvane.Core.Math;

static class MonoHost
{
    static int passed, failed;

    static void Check(string what, double got, double want, double rel)
    {
        bool ok = Math.Abs(got - want) <= rel * Math.Abs(want);
        if (ok) passed++; else failed++;
        Console.WriteLine("{0,-44} {1,-26:R} {2}", what, got, ok ? "ok" : "WRONG");
    }

    static void Check(string what, bool ok)
    {
        if (ok) passed++; else failed++;
        Console.WriteLine("{0,-71} {1}", what, ok ? "ok" : "WRONG");
    }

    static int Main()
    {
        // Scalar families (SciPy 1.10, R 4.2, or exact arithmetic).
        Check("NormalCDF(1.96, 0, 1, upper)", NativeMethods.NormalCDF(1.96, 0, 1, true), 0.024997895148220435, 1e-15);
        Check("NormalCDF(1.96, 0, 1, lower)", NativeMethods.NormalCDF(1.96, 0, 1, false), 0.9750021048517795, 1e-15);
        Check("GammaLn(10.5)", NativeMethods.GammaLn(10.5), 13.940625219403763, 1e-15);
        Check("BetaRegularized(2, 3, 0.4)", NativeMethods.BetaRegularized(2, 3, 0.4), 0.5248, 1e-15);
        Check("StudentTICDF(0.025, 10, upper)", NativeMethods.StudentTICDF(0.025, 10, true), 2.2281388519862744, 1e-15);
        Check("BinomialCDF(3, 10, 0.5, lower)", NativeMethods.BinomialCDF(3, 10, 0.5, false), 0.171875, 0);
        Check("FNCHypergeometricCDF(1, 4, 3, 10, odds 1)",
              NativeMethods.FNCHypergeometricCDF(1, 4, 3, 10, 1.0, false, 1e-12), 140.0 / 210.0, 1e-12);
        Check("KolmogorovCDF(0.7, 1, lower)", NativeMethods.KolmogorovCDF(0.7, 1, 0), 0.4, 1e-14);
        double[] v = { 1, 2, 3 };
        NativeMethods.SortDoubleArray(v, 3);  // the library's deliberately partial order
        Check("SortDoubleArray {1, 2, 3} -> {2, 3, 1}", v[0] == 2 && v[1] == 3 && v[2] == 1);
        double[] lambda = { Math.Sqrt(0.5), Math.Sqrt(0.5), Math.Sqrt(0.5), Math.Sqrt(0.5) };
        Check("MCaICDF(0.05, 4, 20, upper)", NativeMethods.MCaICDF(0.05, 4, 20, lambda, true), 2.7989361485179445, 1e-6);

        // Optimiser: f = (x0 - 1)^2 + 10 (x1 + 2)^2, x0 in [-5, 5], x1 free.
        double[] x = { 0, 0 }, g = { 0, 0 }, f = { 0 };
        int code = 1;
        using (LbfgsbStateHandle state = NativeMethods.LBFGSBStart(
                   2, 5, new double[] { -5, 0 }, new double[] { 5, 0 }, new int[] { 2, 0 }, 1e7, 1e-10)) {
            for (int i = 0; i < 200 && (code == 1 || code == 2); i++) {
                if (code == 1) {
                    f[0] = (x[0] - 1) * (x[0] - 1) + 10 * (x[1] + 2) * (x[1] + 2);
                    g[0] = 2 * (x[0] - 1);
                    g[1] = 20 * (x[1] + 2);
                }
                code = NativeMethods.LBFGSBStep(state, x, f, g);
            }
        }  // the handle's release calls LBFGSBEnd
        Check("LBFGSBStep: converged (3)", code == 3);
        Check("L-BFGS-B minimiser x0", x[0], 1.0, 1e-6);
        Check("L-BFGS-B minimiser x1", x[1], -2.0, 1e-6);

        // Random streams: the same seed gives the same normals.
        double[] r1 = new double[8], r2 = new double[8];
        RandomStreamHandle s1 = NativeMethods.CreateRandomStream(7), s2 = NativeMethods.CreateRandomStream(7);
        Check("GenerateRandomNormal status", NativeMethods.GenerateRandomNormal(s1, r1, 8, 0, 1) == 0);
        NativeMethods.GenerateRandomNormal(s2, r2, 8, 0, 1);
        bool same = true;
        for (int i = 0; i < 8; i++) same &= r1[i] == r2[i];
        Check("same seed, same normals", same);
        s1.Dispose();  // DeleteRandomStream
        s2.Dispose();
        Check("streams released", s1.IsClosed && s2.IsClosed);

        // Linear algebra.
        double[] a = { 4, 2, 2, 3 };
        var d2 = new MatrixDescriptor(0, 2, 2, 2);
        Check("Cholesky INFO", NativeMethods.Cholesky(0, a, ref d2) == 0);
        Check("Cholesky L(1,1)", a[3], Math.Sqrt(2), 1e-15);
        double[] design = { 1, 1, 1, 1, 0, 1, 2, 3 }, y = { 1, 3, 5, 7 }, c = new double[2], tau = new double[2];
        var dx = new MatrixDescriptor(0, 4, 4, 2);
        var dy = new MatrixDescriptor(0, 4, 4, 1);
        var dc = new MatrixDescriptor(0, 2, 2, 1);
        Check("OLS INFO", NativeMethods.OLS(design, ref dx, y, ref dy, c, ref dc, tau, 1e-7) == 0);
        Check("OLS intercept", c[0], 1.0, 1e-14);
        Check("OLS slope", c[1], 2.0, 1e-14);
        double[] m = { 3, 4, 0, 5 }, s = new double[2], u = new double[4], vt = new double[4];
        Check("ThinSVD INFO", NativeMethods.ThinSVD(m, ref d2, s, u, ref d2, vt, ref d2) == 0);
        Check("ThinSVD s1", s[0], Math.Sqrt(45), 1e-14);
        Check("ThinSVD s2", s[1], Math.Sqrt(5), 1e-14);

        Console.WriteLine("{0} passed, {1} failed", passed, failed);
        return failed == 0 ? 0 : 1;
    }
}
