import logging

_log = logging.getLogger("payments")


def log_event(kind, detail):
    _log.info("%s: %s", kind, detail)
