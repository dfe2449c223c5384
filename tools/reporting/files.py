"""Reading input files, and the one kind of error that the user is told of."""
from __future__ import annotations

import time
from pathlib import Path


class ReportError(Exception):
    """Input that no report can be made of; its text is one line."""


class Sources:
    """The files that were read, for the head of the page."""

    def __init__(self) -> None:
        self.read: list[tuple[str, int, str]] = []  # name, bytes, time of writing

    def text(self, path: str) -> str:
        """The text of a file: UTF-8, or Latin-1 as older game files have it."""
        try:
            data = Path(path).read_bytes()
            written = time.localtime(Path(path).stat().st_mtime)
        except OSError as error:
            raise ReportError(f"{path}: {error.strerror or error}") from error
        if not data.strip():
            raise ReportError(f"{path} is empty")
        data = data.replace(b"\0\n", b"\n")  # as older suites end their lines
        if b"\0" in data:
            raise ReportError(f"{path} is no text")
        self.read.append((Path(path).name, len(data), time.strftime("%Y-%m-%d %H:%M", written)))
        try:
            text = data.decode("utf-8-sig")
        except UnicodeDecodeError:
            text = data.decode("latin-1")
        return text.replace("\r\n", "\n").replace("\r", "\n")
