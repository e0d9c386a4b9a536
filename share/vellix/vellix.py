"""The process's log and failure records for Python, through ctypes alone.

    import logging, vellix

    vellix.set_log_file("host.log")     # where the script itself is the host
    logging.getLogger().addHandler(vellix.Handler())
    logging.getLogger("net").error("no answer")

    log = vellix.Logger("net")
    log.warn("bad packet", packet)
    if why := vellix.failure():
        log.error(why.message)

The library that the process has loaded already is the one that is used; see
load().

Texts: a str is written as UTF-8, a surrogate as \\udcff, a NUL as \\0. What is
longer than 512 MiB is cut. bytes are written as they are, None as NULL, and
anything else as its str().

Threads: any thread may call anything here. A call into the library releases the
interpreter's lock, so that a slow log holds up no other thread of Python.

An exception of C++ cannot pass the interpreter: where the library has no memory
for a log record of more than 4096 bytes, the process ends.
"""

import atexit
import ctypes
import functools
import logging
import os
import sys
import threading
import time
import types
import typing

DEBUG, INFO, WARN, EXP, ERROR, FATAL = range(6)

_NAME = "libvellix.so.1"
_MAX_TEXT = 512 << 20
_MAX_DATA = 1024  # of which the log shows no more
_PIECE = 1 << 30  # what string_at takes

# The operations of each interface in their order: name, result, arguments.
_EXCEPTION = (
    ("GetExceptionCode", ctypes.c_int),
    ("GetExceptionMsg", ctypes.c_char_p),
    ("GetExceptionSource", ctypes.c_char_p, ctypes.POINTER(ctypes.c_int)),
    ("SetException", None, ctypes.c_int, ctypes.c_char_p, ctypes.c_int,
     ctypes.c_char_p),
    ("Clear", None),
    ("Copy", None, ctypes.c_void_p),
)
_LOGGER = (
    ("SetLogFile", ctypes.c_bool, ctypes.c_char_p, ctypes.c_bool),
    ("GetLogFile", ctypes.c_char_p),
    ("SetLogStream", ctypes.c_bool, ctypes.c_void_p),
    ("GetLogStream", ctypes.c_void_p),
    ("EnableLog", None, ctypes.c_bool),
    ("EnableExpLog", None, ctypes.c_bool),
    ("IsExpLogEnabled", ctypes.c_bool),
    ("Log", None, ctypes.c_int, ctypes.c_char_p, ctypes.c_char_p,
     ctypes.c_char_p, ctypes.c_uint),
    ("IsLogging", ctypes.c_bool, ctypes.POINTER(ctypes.c_uint)),
)
_STREAM = (
    ("GetPosition", ctypes.c_int64),
    ("SetPosition", ctypes.c_int64, ctypes.c_int64),
    ("GetSize", ctypes.c_int64),
    ("SetSize", ctypes.c_bool, ctypes.c_int64),
    ("Read", ctypes.c_int32, ctypes.c_void_p, ctypes.c_uint32),
    ("Write", ctypes.c_int32, ctypes.c_void_p, ctypes.c_uint32),
    ("Seek", ctypes.c_int64, ctypes.c_int64, ctypes.c_int),
    ("CopyFrom", ctypes.c_int64, ctypes.c_void_p, ctypes.c_int64),
    ("IsStream", ctypes.c_bool),
    ("Eof", ctypes.c_bool),
    ("Free", None),
)


def _prototype(result, *arguments):
    # Not PYFUNCTYPE, which keeps the interpreter's lock. One thread would hold
    # that and wait for the log's; another, in a target written in Python, the
    # other way round.
    return ctypes.CFUNCTYPE(result, ctypes.c_void_p, *arguments)


def _operations(address, slots):
    """The operations of the object there, by name; they take its address."""
    table = ctypes.cast(
        address, ctypes.POINTER(ctypes.POINTER(ctypes.c_void_p))).contents
    return types.SimpleNamespace(**{
        name: _prototype(*signature)(table[slot])
        for slot, (name, *signature) in enumerate(slots)})


class _Library:

    def __init__(self, module):
        module.GetQuorlLogger.restype = ctypes.c_void_p
        module.GetQuorlException.restype = ctypes.c_void_p
        logger = module.GetQuorlLogger()
        self.logger = types.SimpleNamespace(**{
            name: functools.partial(operation, logger)
            for name, operation in vars(_operations(logger, _LOGGER)).items()})
        self.get_exception = module.GetQuorlException
        self.exception = _operations(self.get_exception(), _EXCEPTION)


_library = None
_loading = threading.Lock()
_here = threading.local()  # .writing: this thread is inside a target of ours


def load(path=None):
    """Finds the library; the other functions do so when they are first called.

    The first of these: the one that the process has loaded; the one at `path`
    if it is given, else the one beside the executable; what the dynamic linker
    finds by its name. It stays loaded. Raises OSError if there is none, and
    ValueError for an empty path.
    """
    global _library
    if path is not None and not os.fspath(path):
        raise ValueError("the path of the library is empty")
    with _loading:
        if _library is None:
            _library = _Library(_open(path))


def _open(path):
    try:
        return ctypes.CDLL(_NAME, mode=os.RTLD_NOLOAD)
    except OSError:
        pass
    if path is None:
        directory = os.path.dirname(os.path.realpath("/proc/self/exe"))
        beside = os.path.join(directory, _NAME)
        path = beside if os.path.exists(beside) else _NAME
    return ctypes.CDLL(os.fsdecode(path))


def _loaded():
    if _library is None:
        load()
    return _library


def _text(value):
    if value is None:
        return None
    if isinstance(value, (bytes, bytearray)):
        text = bytes(value[:_MAX_TEXT])
    else:
        text = str(value)[:_MAX_TEXT].encode("utf-8", "backslashreplace")
    return text[:_MAX_TEXT].replace(b"\0", b"\\0")


def _data(value):
    if value is None:
        return None
    view = memoryview(value)
    if not view.c_contiguous:
        view = memoryview(view.tobytes())
    return view.cast("B")[:_MAX_DATA].tobytes() if view.nbytes else None


class Logger:
    """Writes log records of one source.

    Each takes a text and, if there are any, bytes to dump: any object with a
    buffer. The first 1024 are written.
    """

    def __init__(self, source):
        self._source = _text(source)

    def log(self, level, message, data=None):
        """`level` is one of DEBUG to FATAL; ValueError for another one."""
        if level not in range(DEBUG, FATAL + 1):
            raise ValueError(f"no such level: {level!r}")
        data = _data(data)
        _loaded().logger.Log(level, self._source, _text(message), data,
                             len(data or b""))

    def debug(self, message, data=None):
        self.log(DEBUG, message, data)

    def info(self, message, data=None):
        self.log(INFO, message, data)

    def warn(self, message, data=None):
        self.log(WARN, message, data)

    def error(self, message, data=None):
        self.log(ERROR, message, data)

    def fatal(self, message, data=None):
        self.log(FATAL, message, data)


class Handler(logging.Handler):
    """Brings the records of Python's logging into the log.

    The name of the Python logger becomes the source. WARNING becomes WARN,
    CRITICAL becomes FATAL; a level between two is written as the lower one, all
    below INFO as DEBUG. The time is that of the log. What a target of
    set_log_stream logs from its own write is dropped.
    """

    def __init__(self, level=logging.NOTSET):
        super().__init__(level)
        # logging.basicConfig would add the level and the name once more.
        self.setFormatter(logging.Formatter("%(message)s"))

    def handle(self, record):
        # Without the handler's lock. A target in Python that logs takes it
        # under the log's lock; here it would be the other way round.
        passed = self.filter(record)
        if isinstance(passed, logging.LogRecord):
            record = passed
        if passed:
            self.emit(record)
        return passed

    def emit(self, record):
        if getattr(_here, "writing", False):
            return
        try:
            level = _level_of(record.levelno)
            _loaded().logger.Log(level, _text(record.name),
                                 _text(self.format(record)), None, 0)
        except RecursionError:
            raise
        except Exception:
            self.handleError(record)


def _level_of(number):
    if number < logging.INFO:
        return DEBUG
    if number < logging.WARNING:
        return INFO
    if number < logging.ERROR:
        return WARN
    return ERROR if number < logging.CRITICAL else FATAL


class Failure(typing.NamedTuple):
    code: int
    message: str
    file: str
    line: int


def failure():
    """What the calling thread's failure record holds; None if it is empty."""
    library = _loaded()
    record = library.get_exception()
    code = library.exception.GetExceptionCode(record)
    if code == 0:
        return None
    line = ctypes.c_int()
    message = library.exception.GetExceptionMsg(record)
    file = library.exception.GetExceptionSource(record, ctypes.byref(line))
    return Failure(code, message.decode(errors="backslashreplace"),
                   file.decode(errors="backslashreplace"), line.value)


def clear_failure():
    """Empties the calling thread's failure record."""
    library = _loaded()
    library.exception.Clear(library.get_exception())


def enable_log(enable):
    _loaded().logger.EnableLog(bool(enable))


def enable_failure_log(enable):
    """The switch for log records of level EXP, the failures."""
    _loaded().logger.EnableExpLog(bool(enable))


def set_log_file(path, append=True):
    """Makes a file the target of the log, for the life of the process.

    For a script that is the host. Raises RuntimeError if there is a target, and
    OSError if the file cannot be opened.
    """
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError("embedded null byte")
    logger = _untargeted()
    if not logger.SetLogFile(name, bool(append)):
        why = failure()
        raise OSError(why.message if why else "the target was not set")


def set_log_stream(write):
    """Makes a function the target of the log, for the life of the process.

    `write` gets each log record as bytes, one at a time, on the thread that
    logs, which need not be one of Python's. It is called under the log's lock:
    it must not wait for a thread that logs. What it raises goes to
    sys.excepthook, and the log record is lost; so is an interrupt by the
    keyboard at that moment.

    Native code that logs while it holds the interpreter's lock waits for ever
    with such a target. It must release that around the call, as ctypes does.

    The log is switched off when the interpreter ends. A host that logs on after
    that needs another target. Raises RuntimeError if there is a target.
    """
    if not callable(write):
        raise TypeError("a target is a function")
    logger = _untargeted()
    stream = _Stream(write)
    if not logger.SetLogStream(ctypes.addressof(stream.object)):
        raise RuntimeError("the target was not set")
    ctypes.pythonapi.Py_IncRef(ctypes.py_object(stream))  # the log keeps it
    atexit.register(_switch_off, logger, stream)


def _untargeted():
    logger = _loaded().logger
    if logger.GetLogStream():
        raise RuntimeError("the log has a target")
    return logger


class _Stream:
    """An object with a table of functions, as the log calls it."""

    def __init__(self, write):
        self._write = write
        self.calls = 0
        refusals = {None: None, ctypes.c_bool: False}
        self._operations = [
            _prototype(result, *arguments)(
                self._write_record if name == "Write" else
                functools.partial(_refuse, refusals.get(result, -1)))
            for name, result, *arguments in _STREAM]
        self._table = (ctypes.c_void_p * len(_STREAM))(*(
            ctypes.cast(operation, ctypes.c_void_p).value
            for operation in self._operations))
        self.object = ctypes.c_void_p(ctypes.addressof(self._table))

    def _write_record(self, _, buffer, count):
        outer = getattr(_here, "writing", False)
        _here.writing = True
        self.calls += 1  # under the log's lock
        try:
            self._write(b"".join(
                ctypes.string_at(buffer + start, min(_PIECE, count - start))
                for start in range(0, count, _PIECE)))
            return count
        except BaseException:  # none can pass the library
            sys.excepthook(*sys.exc_info())
            return -1
        finally:
            _here.writing = outer


def _refuse(result, *_):
    return result


def _switch_off(logger, stream):
    """No thread may enter the interpreter when it has ended."""
    logger.EnableLog(False)
    # The threads that wait for the log's lock by now write one log record each.
    seen, quiet = None, 0
    deadline = time.monotonic() + 2
    while quiet < 3 and time.monotonic() < deadline:
        quiet = quiet + 1 if seen == stream.calls else 0
        seen = stream.calls
        if logger.IsLogging(None):
            quiet = 0
        time.sleep(0.01)
