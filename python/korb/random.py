"""Random numbers: streams of the library's generators and every distribution of its list.

    s = korb.random.Stream('mrg32k3a', seed=7)
    x = s.gaussian(10**6, mean=0.0, sigma=1.0)          # float64, method 'boxmuller2'
    y = s.exponential(1000, beta=2.0, dtype=np.float32)
    k = s.integers(100, 1, 7)                            # int32 in [1, 7)

Each distribution of the library is a method named after it ('gaussian-mv' is gaussian_mv),
taking the count n, its parameters by the names `korb rng` gives them (positionally too), and
the keywords method (a name or a method id), dtype and out (whose dtype is taken when dtype is
not given). Variates of the same stream state,
method and parameters are the bits the C entry points give (a call of more than 2**30 variates
is made as several calls, which for the rejection methods, gamma and beta, gives other variates
than one call would).

A Stream serves one thread at a time: each holds a lock for the duration of its calls, so
threads sharing one stream take turns while threads with their own streams run in parallel.
"""
import ctypes
import inspect
import keyword
import operator
import os
import struct
import threading

import numpy as np

from . import _lists
from ._arrays import INT_MAX, address, count, finish, output
from ._lib import RngError, c_double, c_float, c_int, c_void_p, declare, lib

__all__ = ["Stream", "GENERATORS", "DISTRIBUTIONS"]

ERROR_BADARGS = -3
ERROR_SKIPAHEAD_UNSUPPORTED = -1003
ERROR_BAD_MEM_FORMAT = -1200

# The generators by name; a family's members follow its id (member k is id + k).
GENERATORS = {
    "mcg31m1": 0x100000,
    "r250": 0x200000,
    "mrg32k3a": 0x300000,
    "mcg59": 0x400000,
    "wh": 0x500000,
    "sobol": 0x600000,
    "niederr": 0x700000,
    "mt19937": 0x800000,
    "mt2203": 0x900000,
    "sfmt19937": 0xD00000,
    "nondeterm": 0xE00000,
}
_NAMES = {v: k for k, v in GENERATORS.items()}
# Families of generators with independent members, and their sizes: spawn() hands out members.
_FAMILIES = {0x500000: 273, 0x900000: 6024}
_MEMBER_MASK = 0xFFFFF

# The methods the package uses when the caller names none, where it differs from the list's
# first: both variates of each Box-Muller pair cost half the uniforms of one.
_DEFAULT_METHOD = {"gaussian": "boxmuller2", "gaussian-mv": "boxmuller2"}

# Variates per C call: below INT_MAX, and a multiple of anything a vector variate needs.
_CHUNK = 1 << 30


class _Properties(ctypes.Structure):
    _fields_ = [("stateSize", ctypes.c_int32), ("stateWords", ctypes.c_int32),
                ("includesZero", ctypes.c_int32), ("wordSize", ctypes.c_int32),
                ("nBits", ctypes.c_int32), ("initStream", c_void_p), ("sGen", c_void_p),
                ("dGen", c_void_p), ("iGen", c_void_p)]


_P = ctypes.POINTER(c_void_p)
_new_stream_ex = declare("bixNewStreamEx", c_int, _P, c_int, c_int, c_void_p)
_delete_stream = declare("bixDeleteStream", c_int, _P)
_copy_stream = declare("bixCopyStream", c_int, _P, c_void_p)
_leapfrog = declare("bixLeapfrogStream", c_int, c_void_p, c_int, c_int)
_skip_ahead = declare("bixSkipAheadStream", c_int, c_void_p, ctypes.c_longlong)
_stream_brng = declare("bixGetStreamStateBrng", c_int, c_void_p)
_stream_size = declare("bixGetStreamSize", c_int, c_void_p)
_properties = declare("bixGetBrngProperties", c_int, c_int, ctypes.POINTER(_Properties))
_save_f = declare("bixSaveStreamF", c_int, c_void_p, ctypes.c_char_p, c_int)
_load_f = declare("bixLoadStreamF", c_int, _P, ctypes.c_char_p, c_int)
_save_m = declare("bixSaveStreamM", c_int, c_void_p, c_void_p)
_load_m = declare("bixLoadStreamM", c_int, _P, c_void_p)


def _check(status, function):
    if status != 0:
        raise RngError(status, function)


def _seed_words(seed):
    """A seed as 32-bit words: an integer >= 0 little-endian word by word (at least one word), or
    a sequence of integers each in [0, 2**32)."""
    if isinstance(seed, (list, tuple, np.ndarray)):
        words = [operator.index(w) for w in np.asarray(seed).ravel().tolist()]
        if any(w < 0 or w >= 2**32 for w in words):
            raise ValueError("seed words must lie in [0, 2**32)")
    else:
        seed = operator.index(seed)
        if seed < 0:
            raise ValueError("seed must be non-negative")
        words = []
        while True:
            words.append(seed & 0xFFFFFFFF)
            seed >>= 32
            if seed == 0:
                break
    if len(words) > INT_MAX:
        raise ValueError("too many seed words")
    return (ctypes.c_uint32 * max(1, len(words)))(*words), len(words)


def _brng_id(brng, member):
    if isinstance(brng, str):
        try:
            base = GENERATORS[brng.lower()]
        except KeyError:
            raise ValueError(f"unknown generator {brng!r}; one of {sorted(GENERATORS)}") from None
    else:
        base = operator.index(brng)
        if base < 0 or base > INT_MAX:
            raise ValueError(f"generator id {base} out of range")
    member = operator.index(member)
    if member < 0 or member > _MEMBER_MASK or (base & _MEMBER_MASK) + member > _MEMBER_MASK:
        raise ValueError(f"member {member} out of range")
    return base + member


def _image_size(buf):
    """The bytes an image describes (header, state, chunks), or -1 when `buf` does not hold it."""
    if len(buf) < 20 or buf[4:7] != b"RNG":
        return -1
    header, state, chunks = struct.unpack_from("<HHI", buf, 8)
    at = header + state
    for _ in range(chunks):
        if at + 24 > len(buf):
            return -1
        at += 24 + struct.unpack_from("<I", buf, at + 20)[0]
    return at if at <= len(buf) else -1


class Stream:
    """A stream of generator `brng` (a name of GENERATORS or an id) seeded with `seed` (an
    integer, taken as little-endian 32-bit words, or a sequence of words); `member` picks a
    member of the wh (0..272) and mt2203 (0..6023) families."""

    __slots__ = ("_ptr", "_lock", "_next_member", "__weakref__")

    def __init__(self, brng="mt19937", seed=1, member=0):
        self._ptr = c_void_p()
        self._lock = threading.Lock()
        brng_id = _brng_id(brng, member)
        words, n = _seed_words(seed)
        _check(_new_stream_ex(ctypes.byref(self._ptr), brng_id, n, words), "bixNewStreamEx")
        self._next_member = (brng_id & _MEMBER_MASK) + 1

    @classmethod
    def _adopt(cls, ptr, next_member=None):
        s = cls.__new__(cls)
        s._ptr = ptr
        s._lock = threading.Lock()
        s._next_member = next_member if next_member is not None else (s.brng_id & _MEMBER_MASK) + 1
        return s

    def close(self):
        """Releases the stream; drawing from it afterwards raises ValueError."""
        ptr = getattr(self, "_ptr", None)
        if ptr:
            with self._lock:
                _delete_stream(ctypes.byref(ptr))

    __del__ = close

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def _handle(self):
        if not self._ptr:
            raise ValueError("the stream is closed")
        return self._ptr

    @property
    def brng_id(self):
        """The generator id, member included."""
        with self._lock:
            return _stream_brng(self._handle())

    @property
    def brng(self):
        """The generator's name."""
        return _NAMES.get(self.brng_id & ~_MEMBER_MASK, hex(self.brng_id))

    @property
    def member(self):
        return self.brng_id & _MEMBER_MASK

    @property
    def word_size(self):
        """Bytes of one output word of the generator."""
        p = _Properties()
        _check(_properties(self.brng_id, ctypes.byref(p)), "bixGetBrngProperties")
        return p.wordSize

    def __repr__(self):
        if not self._ptr:
            return "<korb.random.Stream closed>"
        return f"<korb.random.Stream {self.brng} member {self.member}>"

    # --- splitting --------------------------------------------------------------------------

    def skip_ahead(self, nskip):
        """Advances the stream by nskip outputs (0 <= nskip < 2**63)."""
        nskip = count(nskip, "nskip")
        if nskip >= 2**63:
            raise ValueError("nskip must be below 2**63")
        with self._lock:
            _check(_skip_ahead(self._handle(), nskip), "bixSkipAheadStream")
        return self

    def leapfrog(self, k, nstreams):
        """Makes this stream the k-th of nstreams interleaved streams."""
        k, nstreams = operator.index(k), operator.index(nstreams)
        if not (0 <= k < nstreams <= INT_MAX):
            raise ValueError("leapfrog needs 0 <= k < nstreams <= 2**31 - 1")
        with self._lock:
            _check(_leapfrog(self._handle(), k, nstreams), "bixLeapfrogStream")
        return self

    def copy(self):
        """A new stream in this stream's state."""
        ptr = c_void_p()
        with self._lock:
            _check(_copy_stream(ctypes.byref(ptr), self._handle()), "bixCopyStream")
        return Stream._adopt(ptr, self._next_member)

    __copy__ = copy

    def __deepcopy__(self, memo):
        return self.copy()

    def spawn(self, k, block=2**40):
        """k streams that do not overlap each other nor this stream's future outputs.

        For the families (wh, mt2203) they are the next k members after this stream's (and
        after those of earlier spawns), each seeded from a word of this stream. For the other
        generators they are copies of this stream advanced by 0, block, ..., (k - 1) block
        outputs, after which this stream itself moves k blocks on; each child has `block`
        outputs before it reaches the next one's. Generators with neither (mt19937, nondeterm)
        raise RngError BIX_ERROR_SKIPAHEAD_UNSUPPORTED: take mt2203 or sfmt19937 for them.
        """
        k = count(k, "k")
        block = count(block, "block")
        base = self.brng_id & ~_MEMBER_MASK
        if base in _FAMILIES:
            size = _FAMILIES[base]
            if self._next_member + k > size:
                raise ValueError(f"spawn: the family has {size} members; "
                                 f"{size - self._next_member} are left")
            seeds = self.bits32(k) if k else []
            children = [Stream(base, int(seeds[j]), self._next_member + j) for j in range(k)]
            self._next_member += k
            return children
        if k * block >= 2**63:
            raise ValueError("spawn: k * block must be below 2**63")
        children = []
        for j in range(k):
            child = self.copy()
            if j:
                child.skip_ahead(j * block)
            children.append(child)
        if k:
            self.skip_ahead(k * block)
        return children

    # --- saving -----------------------------------------------------------------------------

    def to_bytes(self):
        """The stream's memory image."""
        with self._lock:
            ptr = self._handle()
            size = _stream_size(ptr)
            if size < 0:
                raise RngError(size, "bixGetStreamSize")
            buf = ctypes.create_string_buffer(size)
            _check(_save_m(ptr, buf), "bixSaveStreamM")
        return buf.raw

    @classmethod
    def from_bytes(cls, image):
        """A stream from a memory image of to_bytes (checked to hold everything its header
        describes before the library reads it)."""
        image = bytes(image)
        if _image_size(image) < 0:
            raise RngError(ERROR_BAD_MEM_FORMAT, "Stream.from_bytes")
        buf = ctypes.create_string_buffer(image, len(image))
        ptr = c_void_p()
        _check(_load_m(ctypes.byref(ptr), buf), "bixLoadStreamM")
        return cls._adopt(ptr)

    def save(self, path):
        """Writes the stream's image to the file `path`."""
        name = os.fsencode(path)
        with self._lock:
            _check(_save_f(self._handle(), name, len(name)), "bixSaveStreamF")

    @classmethod
    def load(cls, path):
        """A stream from an image file written by save()."""
        name = os.fsencode(path)
        ptr = c_void_p()
        _check(_load_f(ctypes.byref(ptr), name, len(name)), "bixLoadStreamF")
        return cls._adopt(ptr)

    def __reduce__(self):
        return _restore, (self.to_bytes(), self._next_member)

    # --- conveniences over the list's distributions ----------------------------------------

    def integers(self, n, low, high=None, *, out=None):
        """n int32 in [low, high), each as likely ([0, low) without high)."""
        if high is None:
            low, high = 0, low
        return self.uniform_int(n, low, high, out=out)


def _restore(image, next_member):
    s = Stream.from_bytes(image)
    s._next_member = next_member
    return s


# --- the distributions ----------------------------------------------------------------------

_DTYPES = {"d": np.float64, "s": np.float32, "i": np.int32, "u": np.uint32, "U": np.uint64}


class _Distribution:
    """One distribution of the list: its C entry points by precision and its argument rules."""

    def __init__(self, entry):
        self.entry = entry
        self.name = entry["name"]
        self.attr = self.name.replace("-", "_")
        self.params = entry["params"]
        self.methods = dict(entry["methods"])
        self.default_method = _DEFAULT_METHOD.get(self.name, entry["methods"][0][0])
        self.dimension = entry["dimension"]
        self.functions = {}
        # The keyword of each parameter: korb rng's option name, with a trailing _ where it
        # would take the name of one of the method's own arguments or is a Python keyword
        # (the Poisson's lambda_).
        self.keys = [key + "_" if key in ("self", "n", "method", "dtype", "out")
                     or keyword.iskeyword(key) else key
                     for _, _, _, key, _ in self.params]

    def function(self, p):
        """bix<p>Rng<Kernel> with its prototype; p is d, s or i."""
        f = self.functions.get(p)
        if f is None:
            real = c_float if p == "s" else c_double
            types = [c_int, c_void_p, c_int, c_void_p]
            for _, kind, _, _, _ in self.params:
                types.append(c_int if kind == "int" else c_void_p if kind == "array" else real)
            f = declare(f"bix{p}Rng{self.entry['kernel']}", c_int, *types)
            self.functions[p] = f
        return f

    def precision(self, dtype, stream):
        """The precision letter and output dtype of a call."""
        have = self.entry["precisions"]
        if "w" in have:  # the generator's own words
            size = stream.word_size
            return "i", (np.uint32 if size == 4 else np.uint64 if size == 8 else np.uint32)
        if dtype is None:
            p = have[0]
        else:
            dt = np.dtype(dtype)
            p = next((q for q in have if np.dtype(_DTYPES[q]) == dt), None)
            if p is None:
                allowed = ", ".join(str(np.dtype(_DTYPES[q])) for q in have)
                raise TypeError(f"{self.attr}: dtype {dt} not available; one of {allowed}")
        return ("i" if p in "iuU" else p), _DTYPES[p]

    def signature(self):
        P = inspect.Parameter
        ps = [P("self", P.POSITIONAL_OR_KEYWORD), P("n", P.POSITIONAL_OR_KEYWORD)]
        for (name, kind, length, _, default), key in zip(self.params, self.keys):
            dflt = None if kind == "array" else (int(default) if kind == "int" else default)
            ps.append(P(key, P.POSITIONAL_OR_KEYWORD, default=dflt))
        ps.append(P("method", P.KEYWORD_ONLY, default=self.default_method))
        if "w" not in self.entry["precisions"]:
            ps.append(P("dtype", P.KEYWORD_ONLY, default=None))
        ps.append(P("out", P.KEYWORD_ONLY, default=None))
        return inspect.Signature(ps)

    def method_id(self, method):
        if isinstance(method, str):
            if method not in self.methods:
                raise ValueError(f"{self.attr}: unknown method {method!r}; "
                                 f"one of {list(self.methods)}")
            return self.methods[method]
        m = operator.index(method)
        if m not in self.methods.values():
            raise ValueError(f"{self.attr}: unknown method id {m}")
        return m

    def arguments(self, n, given, explicit, realtype):
        """The C arguments of the parameters and the elements per variate."""
        values = []
        keys = self.keys
        # A vector dimension not given is taken from the length of an array that follows it.
        if self.dimension >= 0 and keys[self.dimension] not in explicit:
            for (name, kind, length, _, _), key in zip(self.params, keys):
                if kind == "array" and length == ("param", self.dimension) and key in explicit:
                    given[keys[self.dimension]] = np.size(given[key])
        for (name, kind, length, _, default), key in zip(self.params, keys):
            v = given[key]
            if kind == "int":
                try:
                    v = operator.index(v)
                except TypeError:
                    raise TypeError(f"{self.attr}: {key} must be an integer") from None
                if not -2**31 <= v <= INT_MAX:
                    raise RngError(ERROR_BADARGS, f"{self.attr} ({key} = {v})")
                values.append(v)
            elif kind == "real":
                values.append(float(v))
            else:
                values.append(None)
        arrays = []
        for k, ((name, kind, length, _, default), key) in enumerate(zip(self.params, keys)):
            if kind != "array":
                continue
            need = self.length(length, values, n)
            v = given[key]
            if v is None:
                v = self.default_array(length, values, default, need)
            a = np.ascontiguousarray(v, dtype=realtype).ravel()
            if a.size != need:
                raise ValueError(f"{self.attr}: {key} has {a.size} elements, needs {need}")
            arrays.append(a)
            values[k] = a
        per = values[self.dimension] if self.dimension >= 0 else 1
        return values, arrays, per

    @staticmethod
    def length(rule, values, n):
        """The elements an array parameter must have, by its rule in the list."""
        if rule[0] == "n":
            return n
        if rule[0] == "param":
            return max(0, values[rule[1]])
        if rule[0] == "matrix":
            d, storage = max(0, values[rule[1]]), values[rule[2]]
            return {0: d * d, 1: d * (d + 1) // 2, 2: d}.get(storage, 0)
        raise ValueError(f"unknown length rule {rule!r}")

    @staticmethod
    def default_array(rule, values, default, need):
        if rule[0] != "matrix":
            return np.full(need, default)
        d, storage = values[rule[1]], values[rule[2]]
        if storage == 0:
            return (np.eye(d) * default).ravel()
        if storage == 1:
            return np.concatenate([np.r_[np.zeros(i), default] for i in range(d)])
        return np.full(d, default)

    def draw(self, stream, n, given, explicit, method, dtype, out):
        n = count(n)
        if dtype is None and isinstance(out, np.ndarray):
            dtype = out.dtype  # the caller's array says which precision to draw
        p, otype = self.precision(dtype, stream)
        mid = self.method_id(method)
        realtype = np.float32 if p == "s" else np.float64
        values, arrays, per = self.arguments(n, given, explicit, realtype)
        if per < 1:
            raise RngError(ERROR_BADARGS, f"{self.attr} (dimension {per})")
        words = 1
        if "w" in self.entry["precisions"]:
            words = stream.word_size // 4 if stream.word_size not in (4, 8) else 1
        shape = (n,) if self.dimension < 0 and words == 1 else (n, per * words)
        r = output(shape, otype, out)
        f = self.function(p)
        cargs = [address(a) if isinstance(a, np.ndarray) else a for a in values]
        # Arrays of one element per variate move along with the variates, call by call.
        along = [isinstance(a, np.ndarray) and rule[2] == ("n",)
                 for a, rule in zip(values, self.params)]
        step = max(1, _CHUNK // (per * words))
        base = address(r) if r.size else 0
        itemsize = r.itemsize * per * words
        with stream._lock:
            ptr = stream._handle()
            for start in range(0, n, step):
                m = min(step, n - start)
                args = [a + start * values[k].itemsize if along[k] else a
                        for k, a in enumerate(cargs)]
                _check(f(mid, ptr, m, base + start * itemsize, *args),
                       f"bix{p}Rng{self.entry['kernel']}")
        return finish(r, out)


def _install(dist):
    sig = dist.signature()

    def method(self, *args, **kwargs):
        bound = sig.bind(self, *args, **kwargs)
        explicit = set(bound.arguments)
        bound.apply_defaults()
        a = bound.arguments
        return dist.draw(self, a["n"], a, explicit, a["method"], a.get("dtype"), a["out"])

    method.__name__ = method.__qualname__ = dist.attr
    method.__signature__ = sig
    method.__doc__ = (f"n variates: {dist.entry['about']}.\n\nMethods: "
                      f"{', '.join(dist.methods)} (default {dist.default_method}); dtypes: "
                      + ", ".join(str(np.dtype(_DTYPES[q])) for q in dist.entry["precisions"]
                                  if q in _DTYPES) + ".")
    setattr(Stream, dist.attr, method)


DISTRIBUTIONS = {}
for _entry in _lists.DISTRIBUTIONS:
    _d = _Distribution(_entry)
    DISTRIBUTIONS[_d.attr] = _d
    _install(_d)
