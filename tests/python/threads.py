"""A helper thread for the tests of the interpreter lock."""
import threading
import time


class CountingThread(object):
    """A thread that counts while the interpreter lets it run: proof that a call under way
    in the main thread has released the interpreter lock."""

    def __init__(self):
        self.count = 0
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def _run(self):
        while not self._stop.is_set():
            self.count += 1
            time.sleep(0.001)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *exc):
        self._stop.set()
        self._thread.join()
