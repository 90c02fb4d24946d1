"""Functions injected into every console wrapper object at construction.

Each function here becomes a method of the object (it receives the wrapper first);
plain values are copied onto the object unchanged.
"""
