#!/usr/bin/env python3
"""Everything that lists the library's exports, written from src/exports.table.

    gen_exports.py TABLE OUTDIR        write the generated files into OUTDIR
    gen_exports.py TABLE --check-header HEADER
    gen_exports.py TABLE --check-docs README
    gen_exports.py TABLE --check-library LIBRARY
    gen_exports.py TABLE --write-docs README

A file is rewritten only when its content changes, so an edit of the table
rebuilds only what depends on what changed. Standard library only.
"""
import os
import re
import subprocess
import sys
from collections import namedtuple

Arg = namedtuple("Arg", "kind name tag")
Export = namedtuple("Export", "name result errors args family page")
Page = namedtuple("Page", "path title")

KINDS = {"double", "i32", "u32", "flag", "double*", "const double*", "i32*", "const i32*",
         "desc", "stream", "state", "void"}
ERRORS = {
    "errno": "NaN with errno EDOM for an invalid argument, +inf with ERANGE beyond the largest double",
    "errno/loose": "as errno, but some NaN and infinite results come without errno",
    "errno/inf": "as errno, but an infinite quantile may come without ERANGE",
    "errno+overflow": "as errno, and std::overflow_error from an internal ratio",
    "throws": "throws std::domain_error, std::overflow_error or boost::math::evaluation_error; errno untouched",
    "throws+rounding": "as throws, and boost::math::rounding_error for a count beyond the integer range",
    "none": "reports nothing (no argument checks, errno untouched)",
    "none+throws": "no errno; throws boost::math::evaluation_error when the root cannot be bracketed",
    "none+throws+alloc": "no errno; throws the numerical library's exceptions and std::bad_alloc",
    "info": "returns LAPACK's INFO unchanged (0 success, -k argument k illegal, +k numerical failure)",
    "status": "returns the Vector Statistics status unchanged (0 success)",
    "steps": "returns the step code: 1 evaluate f and g, 2 new iterate, 3 converged, 4 abnormal, 5 error, 0 other",
}
C_TYPES = {"double": "double", "i32": "int32_t", "u32": "uint32_t", "flag": "unsigned char",
           "double*": "double*", "const double*": "const double*", "i32*": "int32_t*",
           "const i32*": "const int32_t*", "desc": "const MatrixDescriptor*",
           "stream": "RandomStream", "state": "LbfgsbState*", "void": "void"}
# Exports that end a handle's life: the .NET SafeHandles call them.
RELEASES = {"stream": "DeleteRandomStream", "state": "LBFGSBEnd"}


def parse(path):
    exports, family, page = [], None, None
    for number, raw in enumerate(open(path), 1):
        line = raw.split("#", 1)[0].strip()
        if not line:
            continue
        where = f"{path}:{number}"
        if line.startswith("@page "):
            _, file, title = line.split(None, 2)
            page = Page(file, title)
        elif line.startswith("@family "):
            family = line[len("@family "):].strip()
        else:
            fields = line.split(None, 3)
            if len(fields) < 3 or family is None or page is None:
                sys.exit(f"{where}: expected NAME RESULT ERRORS ARGUMENTS under @page and @family")
            name, result, errors = fields[:3]
            if result not in KINDS or errors not in ERRORS:
                sys.exit(f"{where}: unknown result kind '{result}' or errors '{errors}'")
            args = []
            for text in (fields[3].split(",") if len(fields) > 3 else []):
                m = re.fullmatch(r"\s*((?:const )?\w+\*?)\s+(\w+)(?:\s+\[(\w+)\])?\s*", text)
                if not m or m.group(1) not in KINDS - {"void"}:
                    sys.exit(f"{where}: cannot read argument '{text.strip()}'")
                args.append(Arg(*m.groups()))
            exports.append(Export(name, result, errors, args, family, page))
    names = [e.name for e in exports]
    if len(set(names)) != len(names):
        sys.exit(f"{path}: an export is listed twice")
    return exports


def c_declaration(e):
    args = ", ".join(f"{C_TYPES[a.kind]} {a.name}" for a in e.args) or "void"
    return f"{C_TYPES[e.result]} {e.name}({args})"


def families(exports):
    seen = []
    for e in exports:
        if e.family not in seen:
            seen.append(e.family)
    return seen


def is_scalar(e):
    """Plain numbers in and a double out: the exports kcm and the fuzzer decode generically."""
    return e.result == "double" and all(a.kind in ("double", "i32", "u32", "flag") for a in e.args)


# ---- Generated files ------------------------------------------------------------

def version_script(exports):
    body = "".join(f"    {e.name};\n" for e in exports)
    return ("/* Generated from src/exports.table: the library's only global symbols. */\n"
            f"{{\n  global:\n{body}  local:\n    *;\n}};\n")


def python_prototypes(exports):
    lines = ['"""Generated from src/exports.table: every export, its kinds and its errors."""',
             "", "# name: (result kind, [argument kinds], errors, family)", "PROTOTYPES = {"]
    for e in exports:
        kinds = ", ".join(f'"{a.kind}"' for a in e.args)
        lines.append(f'    "{e.name}": ("{e.result}", [{kinds}], "{e.errors}", "{e.family}"),')
    lines.append("}")
    lines.append("")
    lines.append("ARGUMENT_NAMES = {")
    for e in exports:
        lines.append(f'    "{e.name}": ({"".join(repr(a.name) + ", " for a in e.args)}),')
    lines.append("}")
    lines.append("")
    lines.append("# The array loops of the non-throwing layer (kcmnv_NAME): for each argument,")
    lines.append("# True when the loop takes it as a strided array, False when as one value.")
    lines.append("ARRAY_ARGUMENTS = {")
    for e in exports:
        if looped_in_nothrow_layer(e):
            flags = "".join(f"{varies_in_loop(a)}, " for a in e.args)
            lines.append(f'    "{e.name}": ({flags}),')
    lines.append("}")
    return "\n".join(lines) + "\n"


# i32 arguments that are booleans, although the whole integer reaches the
# export: the Kolmogorov tail flag and the linear algebra's upper/transpose.
# kcm takes only 0 or 1 for them, as for the one-byte flags.
I32_FLAGS = {"upper", "transpose"}


def is_kcm_flag(a):
    return a.kind == "flag" or (a.kind == "i32" and a.name in I32_FLAGS)


def kcm_commands(exports):
    """C++ initialisers of kcm's registry: scalar exports run generically,
    the others by the runner of the same name in namespace run."""
    lines = ["// Generated from src/exports.table: one kcm command per export, in table order."]
    for e in exports:
        signature = c_declaration(e).replace('"', '\\"')
        help_text = ERRORS[e.errors].replace('"', '\\"')
        if is_scalar(e):
            params = ", ".join(f'flag("{a.name}")' if is_kcm_flag(a) else f'{{"{a.name}"}}'
                               for a in e.args)
            lines.append(f'scalar("{e.name}", ::{e.name}, {{{params}}}, "{e.family}", '
                         f'"{signature}", "{help_text}"),')
        else:
            lines.append(f'custom("{e.name}", run::{e.name}, "{e.family}", "{signature}", '
                         f'"{help_text}"),')
    return "\n".join(lines) + "\n"


def kcm_runners(exports):
    lines = ["// Generated from src/exports.table: the hand-written kcm runners, one per",
             "// export that is not a plain scalar function.", "namespace kcm::cli::run {"]
    for e in exports:
        if not is_scalar(e):
            lines.append(f"extern const Runner {e.name};")
    lines.append("}  // namespace kcm::cli::run")
    return "\n".join(lines) + "\n"


FUZZ_RULES = {
    "errno": ("Errno::kPolicy", "kNoThrow"),
    "errno/loose": ("Errno::kLoose", "kNoThrow"),
    "errno/inf": ("Errno::kPolicyInf", "kNoThrow"),
    "errno+overflow": ("Errno::kPolicy", "kOverflow"),
    "throws": ("Errno::kThrowing", "kBoostThrows"),
    "throws+rounding": ("Errno::kThrowing", "kBoostThrows | kRounding"),
    "none": ("Errno::kUntouched", "kNoThrow"),
    "none+throws": ("Errno::kUntouched", "kBoostThrows"),
    "none+throws+alloc": ("Errno::kUntouched", "kBoostThrows | kBadAlloc"),
}
FUZZ_DECODERS = {"double": "d.real()", "i32": "d.integer()", "flag": "d.byte()"}
FUZZ_TYPES = {"double": "double", "i32": "int32_t", "flag": "unsigned char"}


def fuzzed_as_scalar(e):
    """fuzz_scalar takes the exports that return a double from no matrix, and
    the distributions' exports that return through double pointers; the
    arrays, matrices, streams and records are fuzz_arrays' and fuzz_linalg's."""
    if e.result == "double":
        return all(a.kind != "desc" for a in e.args)
    return e.result == "void" and "distribution" in e.family


def fuzz_entries(exports):
    """The fuzz_scalar dispatch table: the scalar exports, decoded here, then
    the others, which call the hand-written special::NAME of fuzz_scalar.cpp
    (each in table order; the seed corpus picks entries by this order)."""
    lines = ["// Generated from src/exports.table: fuzz_scalar's entries.", "const Entry kEntries[] = {"]
    fuzzed = [e for e in exports if fuzzed_as_scalar(e)]
    for e in [e for e in fuzzed if is_scalar(e)] + [e for e in fuzzed if not is_scalar(e)]:
        if not is_scalar(e):
            lines.append(f'{{"{e.name}", special::{e.name}}},')
            continue
        rule, allow = FUZZ_RULES[e.errors]
        decode = " ".join(
            f"const {FUZZ_TYPES[a.kind]} a{i} = "
            f"{f'decode_{a.tag}<{FUZZ_TYPES[a.kind]}>(d)' if a.tag else FUZZ_DECODERS[a.kind]};"
            for i, a in enumerate(e.args))
        nan = " || ".join(f"std::isnan(a{i})" for i, a in enumerate(e.args) if a.kind == "double")
        call = ", ".join(f"a{i}" for i in range(len(e.args)))
        lines.append(f'{{"{e.name}", [](Decoder& d) {{\n    {decode}\n'
                     f'    Scalar("{e.name}", d, {rule}, {allow}, {nan or "false"},\n'
                     f'           [&] {{ return {e.name}({call}); }});\n}}}},')
    lines.append("};")
    return "\n".join(lines) + "\n"


def test_calls(exports):
    """The tests' calls by name: every scalar export, its arguments from an
    array of doubles (counts and tail flags converted as a C caller would)."""
    cast = {"double": "", "i32": "(int32_t)", "u32": "(uint32_t)", "flag": "(unsigned char)"}
    letter = {"double": "d", "i32": "i", "u32": "i", "flag": "f"}
    lines = ["// Generated from src/exports.table: the scalar exports called by name.",
             "const ScalarCall kScalarCalls[] = {"]
    for e in filter(is_scalar, exports):
        call = ", ".join(f"{cast[a.kind]}a[{i}]" for i, a in enumerate(e.args))
        kinds = "".join(letter[a.kind] for a in e.args)
        lines.append(f'{{"{e.name}", "{e.errors}", "{kinds}", [](const double* a) {{ return {e.name}({call}); }}}},')
    lines.append("};")
    return "\n".join(lines) + "\n"


def guarded_in_nothrow_layer(e):
    """The non-throwing layer has a function for every export that reports
    through errno or an exception: the scalar families (every export that may
    throw is among them)."""
    return fuzzed_as_scalar(e)


def nothrow_declaration(e):
    args = ["KcmStatus* status"]
    if e.result != "void":
        args.append(f"{C_TYPES[e.result]}* result")
    args += [f"{C_TYPES[a.kind]} {a.name}" for a in e.args]
    return f"int32_t kcmnt_{e.name}({', '.join(args)})"


def looped_in_nothrow_layer(e):
    """The non-throwing layer also has an array loop, kcmnv_NAME, for every
    export that returns a double from numbers and read-only arrays: the
    scalar exports and the multiple comparisons (their lambdas fixed per call)."""
    return e.result == "double" and all(
        a.kind in ("double", "i32", "u32", "flag", "const double*") for a in e.args)


def varies_in_loop(a):
    """The arguments an array loop takes as one strided array each: the doubles
    and the tagged counts. Flags, selectors and read-only arrays are the same
    for every element."""
    return a.kind == "double" or (a.kind == "i32" and a.tag is not None)


LOOP_PARAMETERS = ("status", "count", "out")


def loop_declaration(e):
    clash = {a.name for a in e.args} & set(LOOP_PARAMETERS)
    if clash:
        sys.exit(f"{e.name}: argument {clash.pop()} clashes with a parameter of kcmnv_{e.name}")
    args = ["KcmArrayStatus* status", "int64_t count", "double* out"]
    for a in e.args:
        if varies_in_loop(a):
            args += [f"const {C_TYPES[a.kind]}* {a.name}", f"int64_t {a.name}_stride"]
        else:
            args.append(f"{C_TYPES[a.kind]} {a.name}")
    return f"int64_t kcmnv_{e.name}({', '.join(args)})"


def nothrow_header(exports):
    out = ["/* Generated from src/exports.table: the non-throwing layer of",
           " * libKorvaneCoreMath, in its own library (libKorvaneCoreMathNoThrow.so.1),",
           " * for hosts that cannot catch C++ exceptions. kcmnt_NAME calls the export",
           " * NAME with errno cleared and returns 0 when it returned (its result in",
           " * *result, the errno it left in status->errno_value) or 1 when it threw",
           " * (*result untouched; the exception's type and message in *status). */",
           "#ifndef KORVANE_CORE_MATH_NOTHROW_H", "#define KORVANE_CORE_MATH_NOTHROW_H", "",
           "#include <korvane/core_math.h>", "",
           "#if defined(KCM_BUILDING_NOTHROW)",
           '#define KCM_NOTHROW_API __attribute__((visibility("default")))', "#else",
           "#define KCM_NOTHROW_API", "#endif", "", "#ifdef __cplusplus", 'extern "C" {',
           "#endif", "",
           "typedef struct KcmStatus {",
           "    int32_t errno_value; /* errno after the call (cleared before it) */",
           "    int32_t thrown;      /* 1 when an exception left the export */",
           '    char type[128];      /* its type, e.g. "std::domain_error" */',
           "    char message[1024];  /* its what() */",
           "} KcmStatus;", "",
           "/* kcmnv_NAME(status, count, out, ...) evaluates NAME for count elements: element i",
           " * of an array argument x is x[i * x_stride] (a stride of 0 repeats one",
           " * value); scalar arguments are the same for every element; out[i] receives",
           " * the result. Each element is evaluated with errno cleared; one that throws",
           " * gets NaN, and the others are still computed. Returns the number of",
           " * elements that threw, or -1 (nothing evaluated) for count < 0. */",
           "typedef struct KcmArrayStatus {",
           "    int64_t edom;         /* elements that left errno EDOM */",
           "    int64_t erange;       /* elements that left ERANGE with an infinite result */",
           "    int64_t underflow;    /* elements that left ERANGE with a finite result */",
           "    int64_t thrown;       /* elements that threw (NaN written for each) */",
           "    int64_t first_thrown; /* index of the first of them; -1 when none */",
           "    char type[128];       /* the first exception's type */",
           "    char message[1024];   /* and its what() */",
           "} KcmArrayStatus;"]
    family = None
    for e in exports:
        if not guarded_in_nothrow_layer(e):
            continue
        if e.family != family:
            family = e.family
            out += ["", f"/* ---- {family} ---- */"]
        out.append(f"KCM_NOTHROW_API {nothrow_declaration(e)};  /* {e.errors} */")
        if looped_in_nothrow_layer(e):
            out.append(f"KCM_NOTHROW_API {loop_declaration(e)};")
    out += ["", "#ifdef __cplusplus", "}", "#endif", "", "#endif"]
    return "\n".join(out) + "\n"


def nothrow_source(exports):
    out = ["// Generated from src/exports.table: the non-throwing layer (guard.hpp).",
           '#include "guard.hpp"', ""]
    for e in exports:
        if not guarded_in_nothrow_layer(e):
            continue
        args = "".join(f", {a.name}" for a in e.args)
        result = "" if e.result == "void" else ", result"
        out.append(f'extern "C" {nothrow_declaration(e)}')
        out.append(f"{{ return kcm::nothrow::call(status{result}, ::{e.name}{args}); }}")
        if looped_in_nothrow_layer(e):
            element = ", ".join(f"{a.name}[i * {a.name}_stride]" if varies_in_loop(a) else a.name
                                for a in e.args)
            out.append(f'extern "C" {loop_declaration(e)}')
            out.append(f"{{ return kcm::nothrow::loop(status, count, out, [=](int64_t i) "
                       f"{{ return ::{e.name}({element}); }}); }}")
    return "\n".join(out) + "\n"


CS_TYPES = {"double": "double", "i32": "int", "u32": "uint",
            "flag": "[MarshalAs(UnmanagedType.U1)] bool", "double*": "double[]",
            "const double*": "[In] double[]", "i32*": "int[]", "const i32*": "[In] int[]",
            "desc": "ref MatrixDescriptor", "stream": "RandomStreamHandle",
            "state": "LbfgsbStateHandle", "void": "void"}


def dotnet(exports):
    out = ["// Generated from src/exports.table: P/Invoke declarations of every export of",
           "// libKorvaneCoreMath.so.1. One-byte flags marshal as U1 booleans, descriptors",
           "// by reference, random streams and optimiser records as SafeHandles whose",
           "// release calls DeleteRandomStream or LBFGSBEnd. Exports marked 'throws' let a",
           "// C++ exception out, which ends a .NET process on Linux: call them through the",
           "// non-throwing layer (libKorvaneCoreMathNoThrow) where that matters.",
           "using System;",
           "using System.Runtime.InteropServices;",
           "using Microsoft.Win32.SafeHandles;",
           "",
           "namespace Korvane.Core.Math",
           "{",
           "    [StructLayout(LayoutKind.Sequential)]",
           "    public struct MatrixDescriptor",
           "    {",
           "        public int Offset, Ld, Rows, Cols;",
           "        public MatrixDescriptor(int offset, int ld, int rows, int cols)",
           "        {",
           "            Offset = offset; Ld = ld; Rows = rows; Cols = cols;",
           "        }",
           "    }",
           ""]
    for kind, cls in (("stream", "RandomStreamHandle"), ("state", "LbfgsbStateHandle")):
        release = RELEASES[kind]
        call = (f"return NativeMethods.{release}(handle) == 0;" if kind == "stream"
                else f"NativeMethods.{release}(handle);\n            return true;")
        out += [f"    public sealed class {cls} : SafeHandleZeroOrMinusOneIsInvalid",
                "    {",
                f"        {cls}() : base(true) {{ }}",
                f"        protected override bool ReleaseHandle()",
                "        {",
                f"            {call}",
                "        }",
                "    }",
                ""]
    out += ["    public static class NativeMethods", "    {",
            '        public const string Library = "libKorvaneCoreMath.so.1";']
    family = None
    for e in exports:
        if e.family != family:
            family = e.family
            out += ["", f"        // {family}"]
        releases = e.name in RELEASES.values()
        args = ", ".join(
            f"{'IntPtr' if releases and a.kind in RELEASES else CS_TYPES[a.kind]} {cs_name(a.name)}"
            for a in e.args)
        out.append(f"        /// <summary>{ERRORS[e.errors]}</summary>")
        out.append(f"        [DllImport(Library)] public static extern {CS_TYPES[e.result]} "
                   f"{e.name}({args});")
    out += ["    }", "}"]
    return "\n".join(out) + "\n"


def cs_name(name):
    return "@" + name if name in ("out", "in", "ref", "base", "params", "object") else name


def docs_index(exports):
    rows = ["| Family | Exports | Page |", "|---|---|---|"]
    pages = []
    for e in exports:
        if e.page not in pages:
            pages.append(e.page)
    for page in pages:
        names = " ".join(f"`{e.name}`" for e in exports if e.page == page)
        stem = os.path.splitext(os.path.basename(page.path))[0]
        rows.append(f"| {page.title} | {names} | [{stem}]({page.path}) |")
    return "\n".join(rows) + "\n"


# ---- Checks ---------------------------------------------------------------------------

def check_header(exports, header):
    """The header declares exactly the table's exports, in its order, with its
    types and argument names, under its family headings, each declaration
    tagged with its errors: KCM_API double Erf(double x); /* errno */"""
    text = open(header).read()
    problems = []
    found_families = re.findall(r"/\* ---- (.*?) ---- \*/", text)
    if found_families != families(exports):
        problems.append(f"family headings {found_families} are not the table's {families(exports)}")
    decls = re.findall(r"KCM_API\s+([^;]*?\));\s*(?:/\*\s*([\w/+]+)\s*\*/)?", text, re.S)
    if len(decls) != len(exports):
        problems.append(f"the header declares {len(decls)} exports, the table {len(exports)}")
    for (decl, tag), e in zip(decls, exports):
        got = " ".join(decl.split()).replace("( ", "(").replace(" )", ")")
        if got != c_declaration(e):
            problems.append(f"header: {got}\n   table: {c_declaration(e)}")
        if tag != e.errors:
            problems.append(f"{e.name}: tagged /* {tag} */ in the header, '{e.errors}' in the table")
    return problems


def check_library(exports, library):
    nm = subprocess.run(["nm", "-D", "--defined-only", library], capture_output=True, text=True,
                        check=True).stdout
    defined = {line.split()[2].split("@")[0] for line in nm.splitlines() if len(line.split()) == 3}
    names = {e.name for e in exports}
    problems = [f"missing from the library: {n}" for n in sorted(names - defined)]
    problems += [f"exported but not in the table: {n}" for n in sorted(defined - names)]
    if len(names) != 91:
        problems.append(f"the table lists {len(names)} exports, not 91")
    return problems


INDEX_BEGIN = "<!-- exports: generated from src/exports.table by tools/gen_exports.py -->"
INDEX_END = "<!-- end of exports -->"


def docs_with_index(exports, readme):
    text = open(readme).read()
    start, end = text.find(INDEX_BEGIN), text.find(INDEX_END)
    if start < 0 or end < start:
        sys.exit(f"{readme}: no '{INDEX_BEGIN}' ... '{INDEX_END}' block")
    return text[:start + len(INDEX_BEGIN)] + "\n" + docs_index(exports) + text[end:]


def write_if_changed(path, content):
    if os.path.exists(path) and open(path).read() == content:
        return
    os.makedirs(os.path.dirname(path) or ".", exist_ok=True)
    with open(path, "w") as f:
        f.write(content)


def main(argv):
    if len(argv) not in (2, 3) or (len(argv) == 2) != (not argv[1].startswith("--")):
        sys.exit(__doc__)
    exports = parse(argv[0])
    if argv[1] == "--check-header":
        problems = check_header(exports, argv[2])
    elif argv[1] == "--check-library":
        problems = check_library(exports, argv[2])
    elif argv[1] == "--check-docs":
        problems = [] if open(argv[2]).read() == docs_with_index(exports, argv[2]) else [
            f"{argv[2]}: the exports index differs from the table "
            f"(run tools/gen_exports.py src/exports.table --write-docs {argv[2]})"]
    elif argv[1] == "--write-docs":
        write_if_changed(argv[2], docs_with_index(exports, argv[2]))
        return 0
    else:
        out = argv[1]
        write_if_changed(os.path.join(out, "exports.map"), version_script(exports))
        write_if_changed(os.path.join(out, "kcm_commands.inc"), kcm_commands(exports))
        write_if_changed(os.path.join(out, "kcm_runners.inc"), kcm_runners(exports))
        write_if_changed(os.path.join(out, "fuzz_scalar_entries.inc"), fuzz_entries(exports))
        write_if_changed(os.path.join(out, "test_scalar_calls.inc"), test_calls(exports))
        write_if_changed(os.path.join(out, "python", "_exports.py"), python_prototypes(exports))
        write_if_changed(os.path.join(out, "dotnet", "KorvaneCoreMath.cs"), dotnet(exports))
        write_if_changed(os.path.join(out, "korvane", "core_math_nothrow.h"), nothrow_header(exports))
        write_if_changed(os.path.join(out, "nothrow.cpp"), nothrow_source(exports))
        return 0
    for p in problems:
        print(p)
    print(f"{len(exports)} exports in the table; {len(problems)} problem(s)")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
