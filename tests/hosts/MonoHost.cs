// A managed host: the library called through P/Invoke from Mono, with the
// ABI's marshalling (one-byte flags as U1 booleans, 32-bit flags as int,
// MatrixDescriptor as a sequential struct by reference, handles as IntPtr).
// Mono finds the library through LD_LIBRARY_PATH by its soname and loads it
// into the global scope (.NET's own loader, like ctypes, loads privately: the
// C and ctypes hosts cover that). One export of every family, each checked.
using System;
using System.Runtime.InteropServices;

[StructLayout(LayoutKind.Sequential)]
struct MatrixDescriptor
{
    public int Offset, Ld, Rows, Cols;
    public MatrixDescriptor(int offset, int ld, int rows, int cols)
    {
        Offset = offset; Ld = ld; Rows = rows; Cols = cols;
    }
}

static class Native
{
    // The soname: a runtime install has no unversioned development link.
    const string Lib = "libKorvaneCoreMath.so.1";

    [DllImport(Lib)] public static extern double NormalCDF(double x, double mean, double sd,
        [MarshalAs(UnmanagedType.U1)] bool upper);
    [DllImport(Lib)] public static extern double GammaLn(double x);
    [DllImport(Lib)] public static extern double BetaRegularized(double a, double b, double x);
    [DllImport(Lib)] public static extern double StudentTICDF(double p, double df,
        [MarshalAs(UnmanagedType.U1)] bool upper);
    [DllImport(Lib)] public static extern double BinomialCDF(double k, double n, double prob,
        [MarshalAs(UnmanagedType.U1)] bool upper);
    [DllImport(Lib)] public static extern double FNCHypergeometricCDF(int x, int n, int m, int N,
        double odds, [MarshalAs(UnmanagedType.U1)] bool upper, double accuracy);
    [DllImport(Lib)] public static extern double KolmogorovCDF(double x, double n, int upper);
    [DllImport(Lib)] public static extern void SortDoubleArray(double[] values, int n);
    [DllImport(Lib)] public static extern double MCaICDF(double p, int k, double df, double[] lambda,
        [MarshalAs(UnmanagedType.U1)] bool upper);
    [DllImport(Lib)] public static extern IntPtr LBFGSBStart(int n, int m, double[] l, double[] u,
        int[] nbd, double factr, double pgtol);
    [DllImport(Lib)] public static extern int LBFGSBStep(IntPtr state, double[] x, ref double f,
        double[] g);
    [DllImport(Lib)] public static extern void LBFGSBEnd(IntPtr state);
    [DllImport(Lib)] public static extern int Cholesky(int upper, double[] a, ref MatrixDescriptor da);
    [DllImport(Lib)] public static extern int OLS(double[] a, ref MatrixDescriptor da, double[] b,
        ref MatrixDescriptor db, double[] c, ref MatrixDescriptor dc, double[] tau, double tol);
    [DllImport(Lib)] public static extern int ThinSVD(double[] a, ref MatrixDescriptor da, double[] s,
        double[] u, ref MatrixDescriptor du, double[] vt, ref MatrixDescriptor dvt);
    [DllImport(Lib)] public static extern IntPtr CreateRandomStream(uint seed);
    [DllImport(Lib)] public static extern int GenerateRandomNormal(IntPtr stream, double[] r, int n,
        double mean, double sigma);
    [DllImport(Lib)] public static extern int DeleteRandomStream(IntPtr stream);
}

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
        Check("NormalCDF(1.96, 0, 1, upper)", Native.NormalCDF(1.96, 0, 1, true), 0.024997895148220435, 1e-15);
        Check("NormalCDF(1.96, 0, 1, lower)", Native.NormalCDF(1.96, 0, 1, false), 0.9750021048517795, 1e-15);
        Check("GammaLn(10.5)", Native.GammaLn(10.5), 13.940625219403763, 1e-15);
        Check("BetaRegularized(2, 3, 0.4)", Native.BetaRegularized(2, 3, 0.4), 0.5248, 1e-15);
        Check("StudentTICDF(0.025, 10, upper)", Native.StudentTICDF(0.025, 10, true), 2.2281388519862744, 1e-15);
        Check("BinomialCDF(3, 10, 0.5, lower)", Native.BinomialCDF(3, 10, 0.5, false), 0.171875, 0);
        Check("FNCHypergeometricCDF(1, 4, 3, 10, odds 1)",
              Native.FNCHypergeometricCDF(1, 4, 3, 10, 1.0, false, 1e-12), 140.0 / 210.0, 1e-12);
        Check("KolmogorovCDF(0.7, 1, lower)", Native.KolmogorovCDF(0.7, 1, 0), 0.4, 1e-14);
        double[] v = { 1, 2, 3 };
        Native.SortDoubleArray(v, 3);  // the library's deliberately partial order
        Check("SortDoubleArray {1, 2, 3} -> {2, 3, 1}", v[0] == 2 && v[1] == 3 && v[2] == 1);
        double[] lambda = { Math.Sqrt(0.5), Math.Sqrt(0.5), Math.Sqrt(0.5), Math.Sqrt(0.5) };
        Check("MCaICDF(0.05, 4, 20, upper)", Native.MCaICDF(0.05, 4, 20, lambda, true), 2.7989361485179445, 1e-6);

        // Optimiser: f = (x0 - 1)^2 + 10 (x1 + 2)^2, x0 in [-5, 5], x1 free.
        IntPtr state = Native.LBFGSBStart(2, 5, new double[] { -5, 0 }, new double[] { 5, 0 },
                                          new int[] { 2, 0 }, 1e7, 1e-10);
        double[] x = { 0, 0 }, g = { 0, 0 };
        double f = 0;
        int code = 1;
        for (int i = 0; i < 200 && (code == 1 || code == 2); i++) {
            if (code == 1) {
                f = (x[0] - 1) * (x[0] - 1) + 10 * (x[1] + 2) * (x[1] + 2);
                g[0] = 2 * (x[0] - 1);
                g[1] = 20 * (x[1] + 2);
            }
            code = Native.LBFGSBStep(state, x, ref f, g);
        }
        Native.LBFGSBEnd(state);
        Check("LBFGSBStep: converged (3)", code == 3);
        Check("L-BFGS-B minimiser x0", x[0], 1.0, 1e-6);
        Check("L-BFGS-B minimiser x1", x[1], -2.0, 1e-6);

        // Random streams.
        IntPtr s1 = Native.CreateRandomStream(7), s2 = Native.CreateRandomStream(7);
        double[] r1 = new double[8], r2 = new double[8];
        Check("GenerateRandomNormal status", Native.GenerateRandomNormal(s1, r1, 8, 0, 1) == 0);
        Native.GenerateRandomNormal(s2, r2, 8, 0, 1);
        bool same = true;
        for (int i = 0; i < 8; i++) same &= r1[i] == r2[i];
        Check("same seed, same normals", same);
        Check("DeleteRandomStream status", (Native.DeleteRandomStream(s1) | Native.DeleteRandomStream(s2)) == 0);

        // Linear algebra.
        double[] a = { 4, 2, 2, 3 };
        var d2 = new MatrixDescriptor(0, 2, 2, 2);
        Check("Cholesky INFO", Native.Cholesky(0, a, ref d2) == 0);
        Check("Cholesky L(1,1)", a[3], Math.Sqrt(2), 1e-15);
        double[] design = { 1, 1, 1, 1, 0, 1, 2, 3 }, y = { 1, 3, 5, 7 }, c = new double[2], tau = new double[2];
        var dx = new MatrixDescriptor(0, 4, 4, 2);
        var dy = new MatrixDescriptor(0, 4, 4, 1);
        var dc = new MatrixDescriptor(0, 2, 2, 1);
        Check("OLS INFO", Native.OLS(design, ref dx, y, ref dy, c, ref dc, tau, 1e-7) == 0);
        Check("OLS intercept", c[0], 1.0, 1e-14);
        Check("OLS slope", c[1], 2.0, 1e-14);
        double[] m = { 3, 4, 0, 5 }, s = new double[2], u = new double[4], vt = new double[4];
        Check("ThinSVD INFO", Native.ThinSVD(m, ref d2, s, u, ref d2, vt, ref d2) == 0);
        Check("ThinSVD s1", s[0], Math.Sqrt(45), 1e-14);
        Check("ThinSVD s2", s[1], Math.Sqrt(5), 1e-14);

        Console.WriteLine("{0} passed, {1} failed", passed, failed);
        return failed == 0 ? 0 : 1;
    }
}
