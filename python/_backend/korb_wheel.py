"""A build backend that writes korb's pure-Python wheel with the standard library alone.

pip calls build_wheel (and, for editable or source distributions, the other hooks); the wheel
holds the package korb/ and its metadata. No build tool is needed, so installing works offline.
"""
import base64
import hashlib
import os
import tarfile
import zipfile

NAME = "korb"
VERSION = "0.1.0"
HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
METADATA = f"""Metadata-Version: 2.1
Name: {NAME}
Version: {VERSION}
Summary: Vector mathematics, random numbers, summary statistics and splines over numpy arrays
Requires-Python: >=3.8
Requires-Dist: numpy

The Python interface of the korb library; it loads libkorb.so.1 (see korb/_lib.py).
"""
WHEEL = f"""Wheel-Version: 1.0
Generator: korb_wheel {VERSION}
Root-Is-Purelib: true
Tag: py3-none-any
"""


def _sources():
    root = os.path.join(HERE, NAME)
    for name in sorted(os.listdir(root)):
        if name.endswith(".py"):
            yield f"{NAME}/{name}", os.path.join(root, name)


def _record_line(path, data):
    digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    return f"{path},sha256={digest},{len(data)}"


def get_requires_for_build_wheel(config_settings=None):
    return []


def get_requires_for_build_sdist(config_settings=None):
    return []


def _write_metadata(directory):
    info = os.path.join(directory, f"{NAME}-{VERSION}.dist-info")
    os.makedirs(info, exist_ok=True)
    for name, text in (("METADATA", METADATA), ("WHEEL", WHEEL)):
        with open(os.path.join(info, name), "w") as f:
            f.write(text)
    return os.path.basename(info)


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    return _write_metadata(metadata_directory)


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    filename = f"{NAME}-{VERSION}-py3-none-any.whl"
    info = f"{NAME}-{VERSION}.dist-info"
    records = []
    with zipfile.ZipFile(os.path.join(wheel_directory, filename), "w",
                         zipfile.ZIP_DEFLATED) as wheel:
        entries = [(arc, open(path, "rb").read()) for arc, path in _sources()]
        entries += [(f"{info}/METADATA", METADATA.encode()), (f"{info}/WHEEL", WHEEL.encode())]
        for arc, data in entries:
            wheel.writestr(arc, data)
            records.append(_record_line(arc, data))
        records.append(f"{info}/RECORD,,")
        wheel.writestr(f"{info}/RECORD", "\n".join(records) + "\n")
    return filename


def build_sdist(sdist_directory, config_settings=None):
    base = f"{NAME}-{VERSION}"
    filename = f"{base}.tar.gz"
    with tarfile.open(os.path.join(sdist_directory, filename), "w:gz") as tar:
        for rel in ("pyproject.toml", "_backend/korb_wheel.py"):
            tar.add(os.path.join(HERE, rel), f"{base}/{rel}")
        for arc, path in _sources():
            tar.add(path, f"{base}/{arc}")
        info = tarfile.TarInfo(f"{base}/PKG-INFO")
        data = METADATA.encode()
        info.size = len(data)
        import io

        tar.addfile(info, io.BytesIO(data))
    return filename
