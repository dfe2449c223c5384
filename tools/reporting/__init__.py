"""The parts of tools/report.py: readers of what the workbench writes, and what draws it on one page."""
