"""Generators of the program's run-time tables (space groups, magnetic groups, elements)."""
