"""Functions injected into every console wrapper object at construction.

Each function here becomes a method of the object (it receives the wrapper first);
plain values are copied onto the object unchanged. The module therefore imports
nothing: every public name in it ends up on the object.

Boot settings, as ``modify_msconfig`` uses them
-----------------------------------------------

``modify_msconfig(boot_mode, effective, option_mode)`` reads each setting, compares it
with the wanted value by plain equality, and writes and reads again when they differ.
The functions below keep one coding for reading and writing, the console's own text
codes, the same as the page operations they stand on:

* boot mode: ``"0"`` legacy BIOS, ``"1"`` UEFI (``web_get_boot_mode``,
  ``web_set_boot_mode``);
* effectiveness: ``"0"`` one start only, ``"1"`` permanent (``web_get_effective``,
  ``web_set_effective``);
* boot option: ``"0"`` No Override, ``"1"`` PXE, ``"2"`` Hard Drive, ``"3"`` DVD-ROM,
  ``"4"`` FDD/Removable Device, ``"5"`` BIOS Setup (``web_get_boot_option``,
  ``web_set_boot_option``).

So a wanted value is passed as text: ``w.modify_msconfig("1", "0", "3")``. An integer
is no code: the page operation logs its error line and changes nothing, and the
read-back then raises the stage's ``WebDisplayException``. A read that finds no
selected button answers ``False``, which differs from every code, so the stage writes.

The readers take no argument, the writers take the wanted value as their one
positional argument. Each call opens the boot settings page anew, so a writer's change
is in place for the read that follows it. A harness that needs another coding or
another way replaces a function on the object (``w.get_boot_mode = ...``) or in a
subclass; ``modify_msconfig`` looks the functions up on the object at each call.
"""


def get_boot_mode(self):
    """The boot mode as the page shows it: "0", "1", or False."""
    return self.web_get_boot_mode()


def get_boot_option(self):
    """The boot option code as the page shows it, or None outside the table."""
    return self.web_get_boot_option()


def set_boot_mode(self, value):
    """Selects and saves the boot mode `value` ("0" or "1")."""
    self.web_set_boot_mode({"mode": value})


def set_boot_option(self, value):
    """Selects and saves the boot option code `value` ("0" to "5")."""
    self.web_set_boot_option({"option": value})


def set_effective(self, value):
    """Selects and saves the effectiveness `value` ("0" once, "1" permanent)."""
    self.web_set_effective({"mode": value})
