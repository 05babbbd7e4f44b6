// Nothing: the source that a target of precompiled headers must have.
