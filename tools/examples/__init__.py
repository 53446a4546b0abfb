"""Generator of the bundled example data sets (see make_examples.py)."""
