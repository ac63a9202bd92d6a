"""The package as a whole: its tables, its errors, its version."""
import ctypes

import korb
from korb import _lib, _lists


def test_status_errors_carry_the_library_text(clib):
    clib.korbStatusText.restype = ctypes.c_char_p
    for cls, family, status in ((korb.RngError, 2, -3), (korb.VmError, 1, 2),
                                (korb.StatsError, 3, -4001), (korb.FitError, 4, -1023)):
        e = cls(status, "f")
        text = clib.korbStatusText(family, status).decode()
        assert e.text == text and text.startswith(e.name + ": ") and e.status == status
        assert isinstance(e, korb.KorbError) and str(e).startswith("f: " + e.name)
    assert korb.RngError(-77).name == "unknown status"


def test_every_listed_entry_point_is_exported():
    """The tables name only entry points libkorb has (a stale table fails here)."""
    for p, func, kind in _lists.VM_FUNCTIONS:
        if kind in ("one", "two", "scalar", "pair", "to_real", "from_real", "linear_frac"):
            assert hasattr(_lib.lib, f"vm{p}{func}"), func
    for entry in _lists.DISTRIBUTIONS:
        for q in entry["precisions"]:
            p = q if q in "ds" else "i"
            assert hasattr(_lib.lib, f"bix{p}Rng{entry['kernel']}"), entry["name"]


def test_version():
    assert korb.__version__.count(".") == 2


def test_wheel_version_is_the_library_version():
    import importlib.util
    import os

    here = os.path.dirname(os.path.abspath(__file__))
    path = os.path.join(here, "..", "..", "python", "_backend", "korb_wheel.py")
    found = importlib.util.spec_from_file_location("korb_wheel", path)
    backend = importlib.util.module_from_spec(found)
    found.loader.exec_module(backend)
    assert backend.VERSION == korb.__version__
