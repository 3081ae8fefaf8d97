"""numpydoc docstrings of the wrappers, built from their parameter lists.

A wrapper gives a one-line summary, its parameters (name, kind, default and,
where the generic one does not fit, a domain), the export it calls and one
example; the Parameters, Returns, Warns/Raises and Examples sections are
written here, the error behaviour from the export's error kind in the
generated prototype table.
"""
import inspect
import textwrap

from . import _native

# name: (domain, what it is). A wrapper may override the domain.
PARAMETERS = {
    "x": ("real", "Point at which the function is evaluated."),
    "q": ("real", "Value of the statistic."),
    "k": ("whole number", "Count of successes (a whole number)."),
    "p": ("[0, 1]", "Probability of the tail chosen by ``upper``."),
    "loc": ("finite", "Location: the mean."),
    "scale": ("> 0, finite", "Scale: the standard deviation for the normal, theta for the gamma."),
    "df": ("> 0", "Degrees of freedom."),
    "df1": ("> 0", "Degrees of freedom of the numerator."),
    "df2": ("> 0", "Degrees of freedom of the denominator."),
    "shape": ("> 0", "Shape parameter (SciPy's ``a``)."),
    "a": ("> 0", "First shape parameter."),
    "b": ("> 0", "Second shape parameter."),
    "delta": ("finite", "Noncentrality parameter (SciPy's ``nc``)."),
    "n": ("whole number >= 0", "Number of trials or sample size."),
    "prob": ("[0, 1]", "Success probability of one trial (SciPy's ``p``)."),
    "mean": ("> 0, finite", "Mean (SciPy's ``mu``)."),
    "M": ("whole number >= 0", "Total number of items (the population)."),
    "N": ("whole number, <= M", "Number of items drawn (the sample)."),
    "m": ("whole number, 0 <= m <= N", "Number of marked items in the urn."),
    "odds": ("> 0", "Odds ratio favouring a marked item."),
    "accuracy": ("> 0", "Relative accuracy to which the point probabilities are summed."),
    "alpha": ("(0, 1)", "Tail probability of the bound."),
    "round_up": ("nonzero (up) or 0 (down)", "Round the discrete quantile up (default) or down."),
    "upper": ("bool", None),
}
KINDS = {"d": "array_like of float", "i": "array_like of int", "b": "bool", "s": "int"}

UPPER_CDF = ("False: the lower tail P(X <= x); True: the upper tail P(X > x), computed "
             "directly as a complement.")
UPPER_ICDF = "False: p is P(X <= x); True: p is P(X > x)."
UPPER_STRICT = ("Only True, False, a numpy bool or the ints 0 and 1 are accepted "
                "(TypeError or ValueError otherwise).")

_ARRAY = ("An array call gives NaN at such elements and one warning for the call "
          "(an error under ``errstate(...='raise')``).")
ERRORS = {
    "errno": ([
        ("DomainWarning", "Invalid argument: NaN is returned (errno EDOM); raises "
                          "DomainError under ``errstate(domain='raise')``."),
        ("RangeWarning", "Result beyond the double range: +-inf (errno ERANGE).")]),
    "errno/loose": ([
        ("DomainWarning", "Invalid argument: NaN (errno EDOM); some NaN and infinite "
                          "results come without a warning."),
        ("RangeWarning", "Result beyond the double range: +-inf (errno ERANGE).")]),
    "errno/inf": ([
        ("DomainWarning", "Invalid argument: NaN (errno EDOM)."),
        ("RangeWarning", "Result beyond the double range (an infinite quantile may come "
                         "without it).")]),
    "errno+overflow": ([
        ("DomainWarning", "Invalid argument: NaN (errno EDOM)."),
        ("RangeWarning", "Result beyond the double range: +-inf (errno ERANGE)."),
        ("OverflowError_", "Raised (scalar call) when an internal ratio overflows. " + _ARRAY)]),
    "throws": ([
        ("DomainError", "Invalid argument (a ValueError). " + _ARRAY),
        ("OverflowError_, EvaluationError", "Result beyond the double range, or a series "
                                            "that does not converge.")]),
    "throws+rounding": ([
        ("DomainError", "Invalid argument (a ValueError), including a count that is not "
                        "a whole number. " + _ARRAY),
        ("RoundingError", "A count that is not finite or beyond the 32-bit integer range.")]),
    "none": ([
        ("nothing", "The export checks no argument: an invalid one gives a meaningless "
                    "number without a warning.")]),
    "none+throws": ([
        ("EvaluationError", "No root can be bracketed (p outside what the tail reaches). "
                            + _ARRAY)]),
    "none+throws+alloc": ([
        ("DomainError", "Invalid degrees of freedom. " + _ARRAY),
        ("EvaluationError, MemoryError", "No root can be bracketed; memory exhausted.")]),
}


def _section(title, lines):
    return [title, "-" * len(title)] + lines + [""]


def _text(text):
    return textwrap.wrap(text, 76, initial_indent="    ", subsequent_indent="    ")


def numpydoc(pyname, summary, params, export, returns=None, example=None, extra_errors=(),
             notes=None):
    """The docstring of ``pyname``.

    params: (name, kind, default[, domain[, description]]) in the wrapper's order;
    example: (arguments as written, the value the call returns as written).
    """
    lines = [summary, ""]
    plines = []
    for p in params:
        name, kind, default = p[:3]
        domain, what = PARAMETERS.get(name, ("", ""))
        if len(p) > 3:
            domain = p[3]
        if len(p) > 4:
            what = p[4]
        if name == "upper":
            what = (UPPER_ICDF if pyname.endswith("icdf") else UPPER_CDF) + " " + UPPER_STRICT
        head = f"{name} : {KINDS.get(kind, kind)}"
        if domain and kind != "b":
            head += f", {domain}"
        if default is not inspect.Parameter.empty:
            head += f", default {default!r}"
        plines += [head] + _text(what)
    lines += _section("Parameters", plines)
    if returns is None:
        returns = ("P(X = x) (or the density at x)." if pyname.endswith("pdf") else
                   "The quantile: x with the chosen tail's probability equal to p."
                   if pyname.endswith("icdf") else
                   "Probability of the chosen tail." if pyname.endswith("cdf") else
                   "The value of the function.")
    if isinstance(returns, tuple):
        lines += _section("Returns", [returns[0]] + _text(returns[1]))
    else:
        lines += _section("Returns", ["out : float or ndarray"] + _text(
            returns + " A float for scalar arguments, else an array of their broadcast shape."))
    kind = _native.ERROR_KINDS.get(export, "none")
    entries = list(ERRORS.get(kind, [])) + list(extra_errors)
    for title, warns in (("Raises", False), ("Warns", True)):
        chosen = [(n, t) for n, t in entries if n.endswith(("Warning", "nothing")) == warns]
        if chosen:
            lines += _section(title, [s for n, t in chosen for s in [n] + _text(t)])
    if notes:
        lines += _section("Notes", textwrap.wrap(notes, 80))
    lines += _section("See Also", [f"The C export ``{export}``."])
    if example is not None:
        args, value = example
        lines += _section("Examples", [">>> import korvane_core_math as kcm",
                                       f">>> kcm.{pyname}({args})", value])
    return "\n".join(lines).rstrip() + "\n"
