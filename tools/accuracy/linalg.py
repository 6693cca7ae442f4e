"""Accuracy of the nine linear-algebra exports on a few matrices, against
references computed with mpmath at 50 digits from the very doubles the
exports receive, side by side with NumPy/SciPy and R.

Each export is measured on one quantity, as relative error in units of
2^-52 (the spacing of doubles at 1):
  - norm-wise ("nw"): ||got - ref||_2 / ||ref||_2 / 2^-52, for vectors and
    matrices (Frobenius norm); factors defined only up to signs are compared
    with the signs that make R's diagonal positive;
  - per component ("pc"): |got_i - ref_i| in ulps of ref_i, the largest over
    i (a zero reference is measured in ulps of the largest reference value).
A point "fails" when the export returns a nonzero info where the reference
expects none, or, for OLS on a collinear design, a different column.

References are kept in linalg_references.csv, keyed by the quantity, the
matrix and a digest of the input doubles, so that changing an input makes its
reference be computed again."""
import csv
import ctypes
import hashlib
import math
import os
import random
import subprocess
import tempfile

import mpmath as mp

HERE = os.path.dirname(os.path.abspath(__file__))
DATA = os.path.join(HERE, "..", "..", "tests", "data")
REFERENCES = os.path.join(HERE, "linalg_references.csv")
EPS = 2.0 ** -52
OLS_TOLERANCE = 1e-10


class MatrixDescriptor(ctypes.Structure):
    # include/QuillonCoreMath.h: four int32 fields in this order
    _fields_ = [("offset", ctypes.c_int32), ("leadingDimension", ctypes.c_int32),
                ("rows", ctypes.c_int32), ("columns", ctypes.c_int32)]


class Problem:
    """A column-major m x n design X (doubles) with a right-hand side y."""

    def __init__(self, name, title, columns, y):
        self.name, self.title = name, title
        self.cols = [[float(v) for v in c] for c in columns]
        self.y = [float(v) for v in y]
        self.m, self.n = len(self.y), len(self.cols)

    @property
    def flat(self):
        return [v for c in self.cols for v in c]

    def digest(self):
        h = hashlib.sha1(repr((self.flat, self.y)).encode()).hexdigest()
        return h[:12]

    def mp_matrix(self):
        return mp.matrix([[mp.mpf(self.cols[j][i]) for j in range(self.n)] for i in range(self.m)])


def problems():
    out = []
    with open(os.path.join(DATA, "longley.csv")) as f:
        rows = [[float(v) for v in r] for r in list(csv.reader(f))[1:]]
    out.append(Problem("longley", "Longley 16 x 7 (NIST StRD, intercept first; condition about 5e9)",
                       [[1.0] * len(rows)] + [[r[k] for r in rows] for k in range(1, 7)], [r[0] for r in rows]))
    rng = random.Random(20240607)  # Python's generator: the same numbers on every platform
    m, n = 40, 6
    cols = [[rng.uniform(-1, 1) for _ in range(m)] for _ in range(n)]
    y = [sum(cols[j][i] * (j + 1) for j in range(n)) + rng.gauss(0, 0.1) for i in range(m)]
    out.append(Problem("random", "random 40 x 6, entries uniform on (-1, 1) (well conditioned)", cols, y))
    m, n = 30, 10
    t = [i / (m - 1) for i in range(m)]
    cols = [[ti ** j for ti in t] for j in range(n)]
    y = [math.exp(ti) + 0.01 * rng.gauss(0, 1) for ti in t]
    out.append(Problem("vandermonde", "Vandermonde 30 x 10, t = i/29, columns t^0 .. t^9 (ill conditioned)",
                       cols, y))
    m = 20
    c1 = [float(rng.randint(-9, 9)) for _ in range(m)]
    c2 = [float(rng.randint(-9, 9)) for _ in range(m)]
    c4 = [float(rng.randint(-9, 9)) for _ in range(m)]
    c5 = [float(rng.randint(-9, 9)) for _ in range(m)]
    c3 = [a + 2 * b for a, b in zip(c1, c2)]  # exactly collinear: rank 4
    y = [a - b + 0.5 * c + rng.gauss(0, 1) for a, b, c in zip(c1, c4, c5)]
    out.append(Problem("collinear", "20 x 5 small integers, column 3 = column 1 + 2 x column 2 (rank 4)",
                       [c1, c2, c3, c4, c5], y))
    return out


# Which matrices each export is measured on, and the quantity.
MEASURED = [
    ("QR", ["longley", "random", "vandermonde"], "R factor (absolute values of the entries), nw"),
    ("QRP", ["longley", "random", "vandermonde", "collinear"], "R factor of X P for the export's own P, nw"),
    ("QR_Qy", ["longley", "random", "vandermonde"],
     "Q'y (transpose true): absolute values of the first n entries and the norm of the rest, nw"),
    ("QR_Q", ["longley", "random", "vandermonde"], "thin Q (columns signed as R's diagonal), nw"),
    ("SolveTriangularSystem", ["longley", "random", "vandermonde"],
     "x of T x = b, T = the reference R rounded, b = T (1, ..., 1) rounded, nw"),
    ("SVD", ["longley", "random", "vandermonde", "collinear"], "singular values, pc"),
    ("LS", ["longley", "random", "vandermonde"], "least-squares solution, nw"),
    ("OLS", ["longley", "random", "vandermonde", "collinear"],
     "coefficients at tolerance 1e-10, nw; on the collinear design, the column it stops at"),
    ("Xb", ["longley", "random", "vandermonde"], "residual sum of squares at the reference coefficients rounded, pc"),
]


# ---- error measures
def normwise(got, ref):
    if got is None or any(not math.isfinite(g) for g in got):
        return math.inf
    num = mp.sqrt(mp.fsum((mp.mpf(g) - r) ** 2 for g, r in zip(got, ref)))
    den = mp.sqrt(mp.fsum(r ** 2 for r in ref))
    return float(num / den / EPS) if den else float(num / EPS)


def componentwise(got, ref):
    if got is None or any(not math.isfinite(g) for g in got):
        return math.inf
    big = max(abs(float(r)) for r in ref)
    worst = 0.0
    for g, r in zip(got, ref):
        # zero to the references' 50 digits: measured in ulps of the largest
        spacing = math.ulp(float(r)) if abs(r) > big * 1e-40 else math.ulp(big)
        worst = max(worst, float(abs(mp.mpf(g) - r) / spacing))
    return worst


# ---- references (mpmath, 50 digits)
def _upper(R, n):
    return [R[i, j] for j in range(n) for i in range(j + 1)]


def _signed_qr(A):
    """Thin Q and R with R's diagonal made nonnegative."""
    Q, R = mp.qr(A, mode="skinny")
    n = A.cols
    for i in range(n):
        if R[i, i] < 0:
            for j in range(n):
                R[i, j] = -R[i, j]
            for k in range(A.rows):
                Q[k, i] = -Q[k, i]
    return Q, R


def _ref_ols_column(p):
    """The first column (1-based) whose part orthogonal to the columns before
    it has norm at most tolerance x its own norm; 0 if none."""
    A = p.mp_matrix()
    basis = []
    for j in range(p.n):
        v = [A[i, j] for i in range(p.m)]
        norm0 = mp.sqrt(mp.fsum(x * x for x in v))
        for q in basis:
            d = mp.fsum(a * b for a, b in zip(q, v))
            v = [a - d * b for a, b in zip(v, q)]
        norm = mp.sqrt(mp.fsum(x * x for x in v))
        if norm <= OLS_TOLERANCE * (norm0 if norm0 else 1):
            return j + 1
        basis.append([x / norm for x in v])
    return 0


def triangular_inputs(p, r_ref):
    """T (n x n upper, column-major doubles) and b = T (1, ..., 1) rounded."""
    n = p.n
    T = [[0.0] * n for _ in range(n)]
    k = 0
    for j in range(n):
        for i in range(j + 1):
            T[j][i] = float(r_ref[k])
            k += 1
    b = [float(mp.fsum(mp.mpf(T[j][i]) for j in range(n))) for i in range(n)]
    return T, b


def compute_reference(quantity, p, extra=None):
    A = p.mp_matrix()
    y = mp.matrix([mp.mpf(v) for v in p.y])
    if quantity == "R":
        return _upper(_signed_qr(A)[1], p.n)
    if quantity == "RP":  # extra: the 1-based permutation
        Ap = mp.matrix([[A[i, k - 1] for k in extra] for i in range(p.m)])
        return _upper(_signed_qr(Ap)[1], p.n)
    if quantity == "Q":
        Q, _ = _signed_qr(A)
        return [Q[i, j] for j in range(p.n) for i in range(p.m)]
    if quantity == "Qty":
        Q, _ = _signed_qr(A)
        top = [mp.fsum(Q[i, j] * y[i] for i in range(p.m)) for j in range(p.n)]
        rest = [y[i] - mp.fsum(Q[i, j] * top[j] for j in range(p.n)) for i in range(p.m)]
        return top + [mp.sqrt(mp.fsum(r * r for r in rest))]
    if quantity == "sv":
        s = mp.svd_r(A, compute_uv=False)
        return sorted([s[i] for i in range(min(p.m, p.n))], reverse=True)
    if quantity == "beta":
        x, _ = mp.qr_solve(A, y)
        return [x[i] for i in range(p.n)]
    if quantity == "tri":  # extra: (T, b)
        T, b = extra
        x = [mp.mpf(0)] * p.n
        for i in reversed(range(p.n)):
            s = mp.mpf(b[i]) - mp.fsum(mp.mpf(T[j][i]) * x[j] for j in range(i + 1, p.n))
            x[i] = s / mp.mpf(T[i][i])
        return x
    if quantity == "rss":  # extra: beta (doubles)
        return [mp.fsum((y[i] - mp.fsum(A[i, j] * mp.mpf(extra[j]) for j in range(p.n))) ** 2
                        for i in range(p.m))]
    if quantity == "olscol":
        return [mp.mpf(_ref_ols_column(p))]
    raise ValueError(quantity)


class References:
    def __init__(self, refresh):
        self.refresh, self.values, self.dirty = refresh, {}, False
        if os.path.exists(REFERENCES):
            with open(REFERENCES) as f:
                for row in csv.reader(line for line in f if not line.startswith("#")):
                    self.values[row[0]] = [mp.mpf(v) for v in row[1].split(";")]

    def get(self, quantity, p, extra=None):
        tag = "" if extra is None else hashlib.sha1(repr(extra).encode()).hexdigest()[:8]
        k = "%s:%s:%s%s" % (quantity, p.name, p.digest(), ":" + tag if tag else "")
        if k not in self.values:
            if not self.refresh:
                return None
            with mp.workdps(50):
                self.values[k] = compute_reference(quantity, p, extra)
            self.dirty = True
        return self.values[k]

    def save(self):
        if not self.dirty:
            return
        with open(REFERENCES, "w", newline="") as f:
            f.write("# Linear-algebra references (tools/accuracy/linalg.py): mpmath %s at 50 digits from the\n"
                    % mp.__version__)
            f.write("# input doubles; key = quantity:matrix:digest of the inputs[:digest of derived inputs]\n")
            w = csv.writer(f)
            for k in sorted(self.values):
                w.writerow([k, ";".join(mp.nstr(v, 25, min_fixed=-1, max_fixed=-1) for v in self.values[k])])


def _abs(values):
    return None if values is None else [abs(v) for v in values]


# ---- the exports through ctypes
def _arr(values):
    return (ctypes.c_double * len(values))(*values)


def _desc(ld, rows, cols, offset=0):
    return ctypes.byref(MatrixDescriptor(offset, ld, rows, cols))


class Exports:
    def __init__(self, dll):
        P = ctypes.POINTER
        d, i32 = ctypes.c_double, ctypes.c_int32
        D, M = P(d), P(MatrixDescriptor)
        self.f = {}
        for name, res, args in [("QR", i32, [D, M, D]), ("QRP", i32, [D, M, D, P(i32)]),
                                ("QR_Qy", i32, [D, M, i32, D, D, M]), ("QR_Q", i32, [D, M, D]),
                                ("SolveTriangularSystem", i32, [D, M, i32, i32, D, M]),
                                ("SVD", i32, [ctypes.c_char_p, D, M, D, D, M, D, M]), ("LS", i32, [D, M, D, M]),
                                ("OLS", i32, [D, M, D, M, D, M, D, d]), ("Xb", d, [D, M, D, D])]:
            try:
                fn = getattr(dll, name)
            except AttributeError:
                continue
            fn.restype, fn.argtypes = res, args
            self.f[name] = fn

    def qr(self, p):
        a, tau = _arr(p.flat), _arr([0.0] * p.n)
        info = self.f["QR"](a, _desc(p.m, p.m, p.n), tau)
        return info, a, tau

    def run(self, export, p, refs):
        """(info, got, ref) for one export on one problem."""
        m, n = p.m, p.n
        if export == "QR":
            info, a, _ = self.qr(p)
            return info, [abs(a[i + j * m]) for j in range(n) for i in range(j + 1)], _abs(refs.get("R", p))
        if export == "QRP":
            a, tau, jpvt = _arr(p.flat), _arr([0.0] * n), (ctypes.c_int32 * n)(*([0] * n))
            info = self.f["QRP"](a, _desc(m, m, n), tau, jpvt)
            return info, [abs(a[i + j * m]) for j in range(n) for i in range(j + 1)], \
                _abs(refs.get("RP", p, tuple(jpvt)))
        if export == "QR_Q":
            info, a, tau = self.qr(p)
            signs = [1.0 if a[j + j * m] >= 0 else -1.0 for j in range(n)]
            info2 = self.f["QR_Q"](a, _desc(m, m, n), tau)
            return info or info2, [a[i + j * m] * signs[j] for j in range(n) for i in range(m)], refs.get("Q", p)
        if export == "QR_Qy":
            info, a, tau = self.qr(p)
            c = _arr(p.y)
            info2 = self.f["QR_Qy"](a, _desc(m, m, n), 1, tau, c, _desc(m, m, 1))
            top = [abs(c[j]) for j in range(n)]
            return info or info2, top + [math.sqrt(math.fsum(c[i] ** 2 for i in range(n, m)))], _abs(refs.get("Qty", p))
        if export == "SolveTriangularSystem":
            T, b = triangular_inputs(p, refs.get("R", p))
            t, x = _arr([v for col in T for v in col]), _arr(b)
            info = self.f["SolveTriangularSystem"](t, _desc(n, n, n), 1, 0, x, _desc(n, n, 1))
            return info, list(x), refs.get("tri", p, (T, b))
        if export == "SVD":
            k = min(m, n)
            a, s, u, vt = _arr(p.flat), _arr([0.0] * k), _arr([0.0]), _arr([0.0])
            info = self.f["SVD"](b"N", a, _desc(m, m, n), s, u, _desc(1, 1, 1), vt, _desc(1, 1, 1))
            return info, list(s), refs.get("sv", p)
        if export == "LS":
            a, b = _arr(p.flat), _arr(p.y)
            info = self.f["LS"](a, _desc(m, m, n), b, _desc(m, m, 1))
            return info, list(b)[:n], refs.get("beta", p)
        if export == "OLS":
            a, b, beta, tau = _arr(p.flat), _arr(p.y), _arr([0.0] * n), _arr([0.0] * n)
            info = self.f["OLS"](a, _desc(m, m, n), b, _desc(m, m, 1), beta, _desc(n, n, 1), tau, OLS_TOLERANCE)
            if refs.get("olscol", p)[0] != 0:
                return info, list(beta), None  # only the column it stops at is compared
            return info, list(beta), refs.get("beta", p)
        if export == "Xb":
            beta = [float(v) for v in refs.get("beta", p)]
            value = self.f["Xb"](_arr(p.flat), _desc(m, m, n), _arr(beta), _arr(p.y))
            return 0, [value], refs.get("rss", p, tuple(beta))
        raise ValueError(export)


MEASURE = {"SVD": componentwise, "Xb": componentwise}


def error_of(export, p, info, got, ref, expected_column):
    """The error of one point, or None for a failure."""
    if export == "OLS" and expected_column:
        return 0.0 if info == expected_column else None
    if info != 0 or ref is None:
        return None
    return MEASURE.get(export, normwise)(got, ref)


# ---- peers: NumPy/SciPy in process, R through one Rscript run
def _np_peer(export, p, refs):
    import numpy as np
    import scipy.linalg as sl
    X = np.array(p.cols).T.copy()
    y = np.array(p.y)
    m, n = p.m, p.n
    if export == "QR":
        R = np.linalg.qr(X, mode="r")
        return [abs(R[i, j]) for j in range(n) for i in range(j + 1)], _abs(refs.get("R", p))
    if export == "QRP":
        R, piv = sl.qr(X, mode="r", pivoting=True)
        pivots = tuple(int(k) + 1 for k in piv)
        return [abs(R[i, j]) for j in range(n) for i in range(j + 1)], _abs(refs.get("RP", p, pivots))
    if export in ("QR_Q", "QR_Qy"):
        Q, R = np.linalg.qr(X, mode="complete")
        s = np.where(np.diag(R) >= 0, 1.0, -1.0)
        if export == "QR_Q":
            return [Q[i, j] * s[j] for j in range(n) for i in range(m)], refs.get("Q", p)
        c = Q.T @ y
        return [abs(v) for v in c[:n]] + [float(np.linalg.norm(c[n:]))], _abs(refs.get("Qty", p))
    if export == "SolveTriangularSystem":
        T, b = triangular_inputs(p, refs.get("R", p))
        return list(sl.solve_triangular(np.array(T).T, np.array(b), lower=False)), refs.get("tri", p, (T, b))
    if export == "SVD":
        return list(np.linalg.svd(X, compute_uv=False)), refs.get("sv", p)
    if export in ("LS", "OLS"):
        if export == "OLS" and refs.get("olscol", p)[0] != 0:
            return None, None  # lstsq reports a rank, not which column
        return list(np.linalg.lstsq(X, y, rcond=None)[0]), refs.get("beta", p)
    if export == "Xb":
        beta = np.array([float(v) for v in refs.get("beta", p)])
        r = y - X @ beta
        return [float(r @ r)], refs.get("rss", p, tuple(float(v) for v in beta))
    return None, None


R_SCRIPT = r"""
args <- commandArgs(TRUE)
out <- file(args[2], "w")
put <- function(key, v) writeLines(paste(key, paste(sprintf("%.17g", v), collapse = ";")), out)
for (name in strsplit(args[3], ",")[[1]]) {
  X <- as.matrix(read.table(file.path(args[1], paste0(name, ".x"))))
  y <- scan(file.path(args[1], paste0(name, ".y")), quiet = TRUE)
  n <- ncol(X)
  q <- qr(X)
  if (q$rank == n && all(q$pivot == seq_len(n))) {
    R <- qr.R(q)
    s <- sign(diag(R)); s[s == 0] <- 1
    put(paste0("QR:", name), abs(R[upper.tri(R, diag = TRUE)]))
    put(paste0("QR_Q:", name), qr.Q(q) %*% diag(s, n))
    c <- qr.qty(q, y)
    put(paste0("QR_Qy:", name), c(abs(c[1:n]), sqrt(sum(c[-(1:n)]^2))))
  }
  put(paste0("SVD:", name), svd(X, nu = 0, nv = 0)$d)
  f <- lm.fit(X, y)
  na <- which(is.na(f$coefficients))
  if (length(na)) put(paste0("OLSNA:", name), na[1]) else put(paste0("OLS:", name), f$coefficients)
  if (file.exists(file.path(args[1], paste0(name, ".b")))) {
    b <- scan(file.path(args[1], paste0(name, ".b")), quiet = TRUE)
    put(paste0("Xb:", name), sum((y - X %*% b)^2))
    T <- as.matrix(read.table(file.path(args[1], paste0(name, ".t"))))
    tb <- scan(file.path(args[1], paste0(name, ".tb")), quiet = TRUE)
    put(paste0("SolveTriangularSystem:", name), backsolve(T, tb))
  }
}
close(out)
"""


def r_results(probs, refs):
    """R's values per (export, matrix), from one Rscript run; {} without R."""
    try:
        with tempfile.TemporaryDirectory() as tmp:
            for p in probs:
                with open(os.path.join(tmp, p.name + ".x"), "w") as f:
                    for i in range(p.m):
                        f.write(" ".join(repr(p.cols[j][i]) for j in range(p.n)) + "\n")
                with open(os.path.join(tmp, p.name + ".y"), "w") as f:
                    f.write(" ".join(repr(v) for v in p.y) + "\n")
                if refs.get("olscol", p)[0] != 0:
                    continue  # rank deficient: no unique coefficients, no triangular system
                with open(os.path.join(tmp, p.name + ".b"), "w") as f:
                    f.write(" ".join(repr(float(v)) for v in refs.get("beta", p)) + "\n")
                T, b = triangular_inputs(p, refs.get("R", p))
                with open(os.path.join(tmp, p.name + ".t"), "w") as f:
                    for i in range(p.n):
                        f.write(" ".join(repr(T[j][i]) for j in range(p.n)) + "\n")
                with open(os.path.join(tmp, p.name + ".tb"), "w") as f:
                    f.write(" ".join(repr(v) for v in b) + "\n")
            script = os.path.join(tmp, "peer.R")
            with open(script, "w") as f:
                f.write(R_SCRIPT)
            out = os.path.join(tmp, "out.txt")
            subprocess.run(["Rscript", "--vanilla", script, tmp, out, ",".join(p.name for p in probs)],
                           check=True, capture_output=True, timeout=120)
            with open(out) as f:
                return {tuple(k.split(":")): [float(v) for v in vals.split(";")]
                        for k, vals in (line.split() for line in f)}
    except (OSError, subprocess.SubprocessError):
        return {}


def _r_peer(results, export, p, refs):
    if export == "OLS" and ("OLSNA", p.name) in results:
        # lm.fit names the first aliased column: compare it with the reference
        return ("column", int(results[("OLSNA", p.name)][0])), refs.get("olscol", p)
    got = results.get(("OLS" if export == "LS" else export, p.name))
    if got is None:
        return None, None
    if export == "Xb":
        return got, refs.get("rss", p, tuple(float(v) for v in refs.get("beta", p)))
    if export == "SolveTriangularSystem":
        return got, refs.get("tri", p, triangular_inputs(p, refs.get("R", p)))
    ref = {"QR": "R", "QR_Q": "Q", "QR_Qy": "Qty", "SVD": "sv", "LS": "beta", "OLS": "beta"}[export]
    return got, (_abs if export in ("QR", "QR_Qy") else list)(refs.get(ref, p))


def measure(dll, refresh=True, with_peers=True):
    """[(export, quantity, [(matrix, error or None)], {peer: [(matrix, error or None)]})]"""
    exports = Exports(dll)
    refs = References(refresh)
    probs = {p.name: p for p in problems()}
    r_vals = r_results(list(probs.values()), refs) if with_peers else {}
    out = []
    for export, names, quantity in MEASURED:
        if export not in exports.f:
            out.append((export, quantity, None, {}))
            continue
        ours, peer_errs = [], {"R": [], "SciPy": []}
        for name in names:
            p = probs[name]
            olscol = refs.get("olscol", p)
            if olscol is None:
                continue  # no committed reference and no refresh
            col = int(olscol[0]) if export == "OLS" else 0
            try:
                info, got, ref = exports.run(export, p, refs)
            except TypeError:  # a derived reference is missing
                continue
            if ref is None and not (export == "OLS" and col):
                continue  # no reference for this input (say, another pivot order) without refresh
            ours.append((name, error_of(export, p, info, got, ref, col)))
            if not with_peers:
                continue
            for peer, fn in (("SciPy", lambda: _np_peer(export, p, refs)),
                             ("R", lambda: _r_peer(r_vals, export, p, refs))):
                try:
                    pgot, pref = fn()
                except Exception:  # a peer refusing a matrix counts as a failure
                    pgot, pref = None, "failed"
                if pref is None:
                    continue
                if isinstance(pgot, tuple):  # a reported collinear column
                    peer_errs[peer].append((name, 0.0 if pgot[1] == int(pref[0]) else None))
                elif pref == "failed" or (export == "OLS" and col):
                    peer_errs[peer].append((name, None))
                else:
                    peer_errs[peer].append((name, MEASURE.get(export, normwise)(pgot, pref)))
        out.append((export, quantity, ours, {k: v for k, v in peer_errs.items() if v}))
    refs.save()
    return out, probs


def condition_numbers(probs, refs=None):
    refs = refs or References(False)
    out = {}
    for name, p in probs.items():
        s = refs.get("sv", p)
        if s:
            out[name] = float(s[0] / s[-1]) if s[-1] > mp.mpf(10) ** -30 else math.inf
    return out
