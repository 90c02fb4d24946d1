"""The pace of the end-to-end tests: every settle and wait of the console, scaled. A
5-second wait lasts 0.25 s, room enough for a page to load on a busy two-core machine."""
TIME_SCALE = 0.05
