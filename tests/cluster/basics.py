"""The cluster of the tests itself."""

from cluster.case import Case
from cluster.slurm import wait_for


class Cluster(Case):
    def test_each_node_takes_jobs_and_their_ends_are_recorded(self):
        for node in self.slurm.nodes:
            with self.subTest(node):
                run = self.run_in("srun", "-t", "1", "--mem", "16", "-w", node,
                                  "sh", "-c", "echo $SLURM_JOB_ID; exit 3")
                self.assertEqual((3, True), (run.returncode, run.stdout.strip().isdigit()))
                job = run.stdout.strip()
                self.assertTrue(wait_for(lambda: "FAILED" in self.slurm.ask(
                    "sacct", "-c", "-n", "-o", "state", "-j", job), 10))
        self.assert_nothing_left()
