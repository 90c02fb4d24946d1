"""Stand-ins for the test library the console driver is written against."""
