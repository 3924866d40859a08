"""Made-up results in the contenders' format."""

from benchmarks.compare.results import Results


def run(name: str, run_ns: float = 10, finish_ns: float = 0, **others) -> dict:
    """One run of CONTENDER/WORKLOAD; times are per row of three doubles and a time."""
    return {"name": f"{name}/iterations:1/manual_time", "run_ns_per_row": run_ns,
            "finish_ns_per_row": finish_ns, "run_peak_kib": 1024, "finish_peak_kib": 2048,
            "rows": 1000, "bytes_per_row": 32, "stored_bytes_per_row": 0, "rows_lost": 0,
            "label": "a shape", **others}


def failed_run(name: str) -> dict:
    return {"name": name, "error_occurred": True, "error_message": "a value differs"}


def results(*runs: dict, scale: float = 1) -> Results:
    context = {"date": "2026-01-02T03:04:05", "scale": scale, "processor": "a processor",
               "num_cpus": 2, "memory": "some", "system": "a system", "compiler": "a compiler",
               "file_system": "ext4"}
    return Results({"context": context, "benchmarks": list(runs)})
