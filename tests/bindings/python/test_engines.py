"""Engines in threads and processes, on one machine and several."""

import concurrent.futures
import multiprocessing
import os
import pickle
import signal
import threading
import time

import pytest
from conftest import noise

import vantor

IMAGE, GRID = noise((640, 368)), vantor.Grid.rotation(2, (640, 368))
ENGINE = vantor.Engine(3)


def work(seeds, engine=None):
    images = [noise((128, 96), seed=seed) for seed in seeds]
    grid = vantor.Grid.rotation(2, (128, 96))
    return [vantor.hash(vantor.scale(vantor.warp(image, grid, engine=engine), (90, 60), engine=engine))
            for image in images]


def in_child(values):
    image, grid, engine = values
    return vantor.hash(vantor.warp(image, grid, engine=engine), vantor.warp(image, grid, engine=ENGINE))


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_engines_grids_and_images_go_to_other_processes(method):
    expected = in_child((IMAGE, GRID, ENGINE))
    busy = threading.Event()

    def keep_busy():
        while not busy.is_set():
            vantor.warp(IMAGE, GRID, engine=ENGINE)

    thread = threading.Thread(target=keep_busy)
    thread.start()
    try:
        with multiprocessing.get_context(method).Pool(2) as pool:
            results = pool.map_async(in_child, [(IMAGE, GRID, vantor.Engine(2))] * 6).get(60)
    finally:
        busy.set()
        thread.join()
    assert results == [expected] * 6


def test_threads_share_an_engine_or_have_their_own():
    expected = [work(seeds) for seeds in vantor.chunks(range(30), 4)]
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        for engine in (None, ENGINE):
            assert list(pool.map(lambda seeds: work(seeds, engine), vantor.chunks(range(30), 4))) == expected
    assert [len(seeds) for seeds in expected] == [4] * 7 + [2]


def test_an_engine_ends():
    with vantor.Engine(2) as engine:
        assert engine.threads == pickle.loads(pickle.dumps(engine)).threads == 2
    with pytest.raises(ValueError, match="engine: closed"):
        vantor.scale(IMAGE, (4, 4), engine=engine)


def slow_work(seeds):
    time.sleep(0.02)
    return os.getpid(), work(seeds, vantor.Engine(1))


def test_a_cluster_gives_the_same_although_a_worker_dies():
    distributed = pytest.importorskip("distributed")
    chunks = list(vantor.chunks(range(200), 4))
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        futures = client.map(slow_work, chunks)
        first, _ = next(distributed.as_completed(futures)).result()
        os.kill(first, signal.SIGKILL)
        results = client.gather(futures)
    assert {pid for pid, _ in results} - {first} and [hashes for _, hashes in results] == list(map(work, chunks))
