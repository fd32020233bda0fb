"""Script objects of the current parser: classes over the handles of the module sgpy."""
