#!/usr/bin/python3
"""cluster.py [--scheduler ADDRESS] SIZE FILE...: scales pictures to SIZE (WIDTHxHEIGHT) on the workers of a
dask.distributed cluster, by default two processes of this machine, and prints the results' hashes. All machines need
the package, and the files under the same names."""

import argparse

from distributed import Client, LocalCluster

import vantor


def work(size, paths):
    """What a worker does at a time: pictures are read and results kept where the processor is."""
    return [vantor.hash(vantor.scale(vantor.read(path), size)) for path in paths]


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--scheduler", help="such as tcp://10.0.0.1:8786")
    parser.add_argument("size", type=lambda text: tuple(map(int, text.split("x"))))
    parser.add_argument("files", nargs="+")
    arguments = parser.parse_args()
    cluster = arguments.scheduler or LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None)
    with Client(cluster) as client:
        futures = client.map(lambda paths: work(arguments.size, paths), list(vantor.chunks(arguments.files, 16)))
        hashes = [hash for chunk in client.gather(futures) for hash in chunk]
    for file, hash in zip(arguments.files, hashes):
        print(hash, file)


if __name__ == "__main__":
    main()
