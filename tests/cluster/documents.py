"""The commands of docs/cluster.md, word by word, from an installation."""

import os
import re

from cluster.case import ROOT, Case, read


class Documents(Case):
    def test_the_commands_of_the_document_work_as_they_stand(self):
        prefix = self.path("installed")
        install = self.run_in("cmake", "--install", self.build, "--prefix", prefix)
        self.assertEqual(0, install.returncode, install.stderr)
        document = read(os.path.join(ROOT, "docs", "cluster.md")).decode()
        samples = re.findall(r"(?ms)^```cluster\n(.*?)^```$", document)
        self.assertGreater(len(samples), 5)
        before = read(os.path.join(ROOT, "examples", "buffer.pos"))
        local = self.local_run(os.path.join(ROOT, "examples", "mechanisms", "direct.xml"))
        # After each sample: did it change the example's POS file, and as a run without a cluster?
        script = "cd here\n" + "".join(
            f"{sample}\n! [ -e buffer.pos ] || cksum <buffer.pos >>../sums\n" for sample in samples)
        os.mkdir(self.path("here"))
        environment = self.environment()
        environment["PATH"] = f"{prefix}/bin:{self.slurm.environment()['PATH']}"
        run = self.run_in("bash", "-euc", script.replace("/usr/local", prefix), env=environment)
        self.assertEqual(0, run.returncode, run.stderr)
        self.assertNotIn(b"crashed", read(self.path("here", "log")))
        known = {self.sum_of(before): "before", self.sum_of(local): "done"}
        states = [known.get(line, "other") for line in read(self.path("sums")).splitlines()]
        self.assertEqual({"before", "done"}, set(states), run.stdout)
        self.assertEqual("done", states[-1], run.stdout)
        self.assertIn("COMPLETED", run.stdout)

    def sum_of(self, text):
        with open(self.path("text"), "wb") as file:
            file.write(text)
        return self.run_in("sh", "-c", "cksum <text").stdout.strip().encode()
