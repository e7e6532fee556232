"""The recipes of docs/cluster.md: python3 recipes_test.py SOURCE-FOLDER PROGRAM-FOLDER."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

import yaml

SOURCE = pathlib.Path(sys.argv[1])
PROGRAMS = pathlib.Path(sys.argv[2]).resolve()
RECIPES = SOURCE / "tools/cluster/recipes"
SAMPLES = sorted((SOURCE / "tools/capture/samples").glob("*.[bjp]*"))


def run(*command, **more):
    return subprocess.run(command, capture_output=True, text=True, check=False, **more)


class Recipes(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.folder = pathlib.Path(self.temporary.name)

    def tearDown(self):
        self.temporary.cleanup()

    def test_are_shown_in_the_page_as_they_are(self):
        page = (SOURCE / "docs/cluster.md").read_text()
        for recipe in RECIPES.iterdir():
            self.assertIn(recipe.read_text(), page, recipe.name)

    def test_use_options_that_the_programs_have(self):
        for recipe in RECIPES.iterdir():
            # A program and the lines that go on about it.
            use = r"(velmora-(?:worker|submit|capture))((?:\\?\s+(?:- )?[^#\n]*\n)+)"
            for program, arguments in re.findall(use, recipe.read_text()):
                known = run(PROGRAMS / program, "--help").stdout
                for option in re.findall(r"\s(--[a-z-]+)", arguments):
                    self.assertIn(f"  {option} ", known, f"{recipe.name}: {program}")

    def test_units_are_understood_by_systemd(self):
        for unit in RECIPES.glob("velmora-worker*"):
            text = unit.read_text().replace("/usr/local/bin", str(PROGRAMS))
            (self.folder / unit.name).write_text(text)
        instance = self.folder / "velmora-worker@1.service"
        shutil.copy(self.folder / "velmora-worker@.service", instance)
        target = self.folder / "velmora-workers.target"
        verdict = run("systemd-analyze", "verify", "--man=no", instance, target)
        self.assertEqual((verdict.returncode, verdict.stderr), (0, ""))

    def test_objects_of_kubernetes_fit_together(self):
        with (RECIPES / "kubernetes.yaml").open() as file:
            objects = list(yaml.safe_load_all(file))
        kinds = [(one["apiVersion"], one["kind"]) for one in objects]
        self.assertEqual(kinds, [("apps/v1", "Deployment"), ("batch/v1", "Job")])
        deployment = objects[0]["spec"]
        labels = deployment["template"]["metadata"]["labels"]
        self.assertEqual(deployment["selector"]["matchLabels"], labels)
        for one in objects:
            pod = one["spec"]["template"]["spec"]
            volumes = {volume["name"] for volume in pod["volumes"]}
            for container in pod["containers"]:
                mounts = {mount["name"]: mount["mountPath"] for mount in container["volumeMounts"]}
                self.assertLessEqual(mounts.keys(), volumes)
                for argument in container["command"][1:]:
                    path = argument.split("=")[-1]
                    if path.startswith("/"):
                        is_mounted = any(path.startswith(mount) for mount in mounts.values())
                        self.assertTrue(is_mounted, argument)
                self.assertNotIn("password", json.dumps(container["command"]))

    def array(self, task, program_folder=PROGRAMS):
        """Runs a task of an array of three, as Slurm would."""
        environment = dict(
            os.environ,
            PATH=f"{program_folder}:{os.environ['PATH']}",
            SLURM_ARRAY_TASK_COUNT="3",
            SLURM_ARRAY_TASK_ID=str(task),
            SLURM_ARRAY_TASK_MIN="5",
            SLURM_ARRAY_TASK_STEP="5",
            SLURM_CPUS_PER_TASK="1",
            SLURM_JOB_ID="77",
        )
        script = RECIPES / "velmora-array.sbatch"
        return run("bash", script, self.folder / "list", self.folder / "shards", env=environment)

    def test_array_reads_each_picture_once(self):
        (self.folder / "list").write_text("".join(f"{sample}\n" for sample in SAMPLES))
        shards = self.folder / "shards"
        for task in (5, 10, 15, 10):
            result = self.array(task)
            self.assertEqual((result.returncode, result.stdout), (0, ""), result.stderr)
        names = sorted(shard.name for shard in shards.iterdir())
        self.assertEqual(names, ["00005.jsonl", "00010.jsonl", "00015.jsonl"])
        text = "".join(shard.read_text() for shard in shards.iterdir())
        lines = [json.loads(line) for line in text.splitlines()]
        whole = run(PROGRAMS / "velmora-capture", "--json", *SAMPLES).stdout
        read = {line["image"]: line["codes"] for line in map(json.loads, whole.splitlines())}
        self.assertEqual(len(lines), len(SAMPLES))
        self.assertEqual({line["image"]: line["codes"] for line in lines}, read)

    def test_array_keeps_no_shard_that_is_cut_short(self):
        (self.folder / "list").write_text("".join(f"{sample}\n" for sample in SAMPLES))
        cut = self.folder / "velmora-capture"
        cut.write_text(f'#!/bin/sh\n"{PROGRAMS}/velmora-capture" "$@" | head -n 2\nexit 1\n')
        cut.chmod(0o755)
        self.assertEqual(self.array(5, self.folder).returncode, 1)
        self.assertEqual(list((self.folder / "shards").iterdir()), [])


unittest.main(argv=sys.argv[:1])
