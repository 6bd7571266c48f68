import timekernel
with timekernel.open("build/example/sample.kernel") as f:
    print(f.info)                                          # steps, degrees of freedom, modes, nodes, elements
    print("elements:", f.element_ids, "types:", f.element_types)
    print(f.keys_at(100))                                  # what node 100 can answer: response id -> name
    u = f.history([100, 101, 102], ["ux", "uz"])           # numpy array shaped (ids, steps, keys)
    print(u[:, -1, :])                                     # ux and uz of each node at the last step
    print(f.history([5001], ["axial@1", "axial@2"], elements=True).to_pandas())
    fig = timekernel.plot.history(f, [100, 101, 102], ["ux", "uz"])
    fig.savefig("docs/python-history.png")
