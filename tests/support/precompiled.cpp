// Nothing: the target around it compiles the headers that most tests begin with.
