#!/usr/bin/env Rscript
# Reference values for the Student t, chi-squared, F, gamma, beta and
# noncentral t distributions.
#
# Oracle: R's own nmath (R 4.2): pt/qt/dt, pchisq/qchisq/dchisq, pf/qf/df,
# pgamma/qgamma/dgamma, pbeta/qbeta/dbeta (TOMS 708), and pt/dt/qt with ncp
# (AS 243 and its inverse) for the noncentral t. Upper tails are asked with
# lower.tail = FALSE, which nmath computes directly for the central families,
# so tiny upper tails are compared relatively. Values are written with 17
# significant digits. Rows whose value underflows below 1e-300 are left out.
#
# Run from the repository root: Rscript tests/gen/continuous.R
out <- file.path(dirname(sub("^--file=", "", grep("^--file=", commandArgs(FALSE), value = TRUE))),
                 "..", "data", "continuous.csv")

rows <- list()
add <- function(fn, a, b, c, upper, v) {
  if (!is.finite(v) || (v != 0 && abs(v) < 1e-300)) return(invisible())
  rows[[length(rows) + 1]] <<- sprintf("%s,%.17g,%.17g,%.17g,%d,%.17g", fn, a, b, c, upper, v)
}
both <- function(fn, a, b, c, f) {
  add(fn, a, b, c, 0, f(TRUE))
  add(fn, a, b, c, 1, f(FALSE))
}
probs <- c(1e-300, 1e-50, 1e-10, 1e-3, 0.05, 0.3, 0.5, 0.8, 0.975, 0.999999)

# Student t: df from far below 1 to the near-normal limit.
for (df in c(0.1, 1, 2.5, 10, 1e3, 1e8))
  for (x in c(-50, -3, -0.5, 0, 0.1, 2, 10, 1e3))
    add("StudentTPDF", x, df, 0, 0, dt(x, df))
for (df in c(0.5, 1, 3, 10.5, 100, 1e6))
  for (x in c(-1e5, -40, -5, -1, -1e-8, 0.3, 2, 8, 40, 1e10))
    both("StudentTCDF", x, df, 0, function(l) pt(x, df, lower.tail = l))
# qt loses digits in its far tails (its Hill/Cornish-Fisher start is only
# polished so far), so the t quantile is taken from qbeta instead: with
# X = df / (df + t^2) ~ Beta(df/2, 1/2) and its complement 1 - X ~ Beta(1/2, df/2)
# solved as a quantile of its own, t^2 = df (1 - X) / X without cancellation.
t_quantile <- function(p, df, lower) {
  q <- if (lower) p else 1 - p        # exact for the p used here
  tail <- min(p, 1 - p)
  if (tail == 0.5) return(0)
  x <- qbeta(2 * tail, df / 2, 0.5)
  y <- qbeta(2 * tail, 0.5, df / 2, lower.tail = FALSE)
  t <- sqrt(df * y / x)
  if (q < 0.5) -t else t
}
for (df in c(1, 2, 3.5, 10, 30, 1e4))
  for (p in probs)
    both("StudentTICDF", p, df, 0, function(l) t_quantile(p, df, l))

# Chi-squared: small shapes (pole of the density at 0) to large.
for (df in c(0.3, 1, 2, 3, 10, 100, 1e5))
  for (x in c(1e-10, 0.5, 1, 5, 50, 500, 1e5))
    add("ChiSquaredPDF", x, df, 0, 0, dchisq(x, df))
for (df in c(0.5, 1, 2, 7, 50, 300))
  for (x in c(1e-5, 0.1, 1, 3, 10, 40, 100, 400, 1000))
    both("ChiSquaredCDF", x, df, 0, function(l) pchisq(x, df, lower.tail = l))
for (df in c(0.1, 1, 2, 5, 50, 1e4))
  for (p in probs)
    both("ChiSquaredICDF", p, df, 0, function(l) qchisq(p, df, lower.tail = l))

# F: both sides of v = df1 x = df2, where the distribution function changes
# from I_{v/s}(df1/2, df2/2) to the complement of I_{df2/s}(df2/2, df1/2).
# qf forms 1/qbeta - 1 and cancels when the beta quantile is near 1, so the F
# quantile is built from two beta quantiles solved separately:
# F = df2 x / (df1 y), x ~ Beta(df1/2, df2/2), y = 1 - x ~ Beta(df2/2, df1/2).
f_quantile <- function(p, df1, df2, lower) {
  x <- qbeta(p, df1 / 2, df2 / 2, lower.tail = lower)
  y <- qbeta(p, df2 / 2, df1 / 2, lower.tail = !lower)
  df2 * x / (df1 * y)
}
fdf <- list(c(1, 1), c(2, 5), c(3, 4), c(10, 20), c(0.5, 7), c(100, 3), c(50, 1e4))
for (d in fdf) {
  cross <- d[2] / d[1]
  for (x in c(1e-6, 0.2, 1, 3, 30, 1e4, cross * c(0.5, 1, 2)))
    add("FisherFPDF", x, d[1], d[2], 0, df(x, d[1], d[2]))
  for (x in c(1e-4, 10, 1e3, cross * c(0.5, 0.999, 1, 1.001, 2)))
    both("FisherFCDF", x, d[1], d[2], function(l) pf(x, d[1], d[2], lower.tail = l))
  for (p in probs)
    both("FisherFICDF", p, d[1], d[2], function(l) f_quantile(p, d[1], d[2], l))
}

# Gamma: shapes from 0.1 to 1e4, x around the mean shape*scale.
for (sc in list(c(0.1, 1), c(0.5, 2), c(1, 1), c(2.5, 0.3), c(10, 5), c(200, 0.01), c(1e4, 1))) {
  m <- sc[1] * sc[2]
  for (x in m * c(1e-6, 0.1, 0.5, 1, 2, 10, 50))
    add("GammaPDF", x, sc[1], sc[2], 0, dgamma(x, shape = sc[1], scale = sc[2]))
  for (x in m * c(1e-6, 0.1, 0.5, 1, 2, 10, 50))
    both("GammaCDF", x, sc[1], sc[2], function(l) pgamma(x, shape = sc[1], scale = sc[2], lower.tail = l))
  for (p in probs)
    both("GammaICDF", p, sc[1], sc[2], function(l) qgamma(p, shape = sc[1], scale = sc[2], lower.tail = l))
}

# Beta: U-shaped, uniform, skewed and concentrated shapes.
for (ab in list(c(0.5, 0.5), c(1, 1), c(2, 3), c(0.1, 10), c(10, 0.2), c(50, 60), c(1e3, 5))) {
  for (x in c(1e-8, 0.01, 0.3, 0.5, 0.9, 0.999999))
    add("BetaPDF", x, ab[1], ab[2], 0, dbeta(x, ab[1], ab[2]))
  for (x in c(1e-8, 0.01, 0.3, 0.5, 0.9, 0.999999))
    both("BetaCDF", x, ab[1], ab[2], function(l) pbeta(x, ab[1], ab[2], lower.tail = l))
  for (p in probs)
    both("BetaICDF", p, ab[1], ab[2], function(l) qbeta(p, ab[1], ab[2], lower.tail = l))
}

# Noncentral t (delta below 37.62, where R stays with AS 243 rather than a
# normal approximation). pnt is accurate to about 1e-12 absolute and forms
# its upper tail as 1 - lower, and dnt is a difference of two pnt values, so
# only values above 1e-3 are kept; qnt stops its bisection at a relative 1e-11.
for (delta in c(-2, 0.5, 1, 3, 8))
  for (df in c(1, 3, 10, 50)) {
    for (x in c(-3, -0.5, 0, 0.7, 2, 5, 15)) {
      v <- dt(x, df, ncp = delta)  # a difference of two pnt values: absolute accuracy
      if (v > 1e-3) add("NoncentralTPDF", x, df, delta, 0, v)
    }
    for (x in c(-3, -0.5, 0.7, 2, 5, 15))
      for (l in c(TRUE, FALSE)) {
        v <- pt(x, df, ncp = delta, lower.tail = l)
        if (v > 1e-3) add("NoncentralTCDF", x, df, delta, if (l) 0 else 1, v)
      }
    for (p in c(0.01, 0.2, 0.5, 0.9, 0.99))
      both("NoncentralTICDF", p, df, delta, function(l) qt(p, df, ncp = delta, lower.tail = l))
  }

con <- file(out, "w")
writeLines(sprintf("# %s nmath; generated by tests/gen/continuous.R", R.version.string), con)
writeLines("function,a,b,c,upper,expected", con)
writeLines(unlist(rows), con)
close(con)
cat("wrote", length(rows), "rows to", normalizePath(out), "\n")
