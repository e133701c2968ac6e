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

    def test_a_controller_that_is_down_answers_nobody_until_it_is_up_again(self):
        self.slurm.stop_controller()
        try:
            self.assertNotEqual(0, self.run_in("srun", "-t", "1", "--mem", "16", "true").returncode)
        finally:
            self.slurm.start_controller()
        self.slurm.wait_until_idle()
        self.assertEqual(0, self.run_in("srun", "-t", "1", "--mem", "16", "true").returncode)
