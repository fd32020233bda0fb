"""The table object of table equations: it only carries the wish to remove the current row."""


class QuovaneTableObject:
    __slots__ = ("remove",)

    def __init__(self, remove=0):
        self.remove = 1 if remove else 0

    def remove_current_row(self):
        self.remove = 1
        return 1


def QuovaneTableObjectGetRemoveCurrentRow(table):
    return table.remove
