"""Reports of vantelo_emulator (learn and detect), as saved from its output."""

import json
import re


def parse_report(text, name="report"):
    """The report as a dict. A non-finite sensitivity, which the emulator prints
    as nan or inf (not JSON), reads as None."""
    text = re.sub(r'("sensitivity":\s*)-?(nan|inf)\b', r"\1null", text)
    try:
        report = json.loads(text)
    except json.JSONDecodeError as error:
        raise ValueError(f"{name}: not a report of vantelo_emulator ({error})") from None
    if not isinstance(report, dict) or report.get("status") not in ("learning", "detection"):
        raise ValueError(f"{name}: not a learning or detection report of vantelo_emulator")
    return report


def read_report(path):
    with open(path, encoding="utf-8", errors="replace") as f:
        return parse_report(f.read(), str(path))
