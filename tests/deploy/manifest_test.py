#!/usr/bin/env python3
"""Is the Job of Kubernetes what a cluster takes, without a secret in it, and does it run what is in the container?

    manifest_test.py DEPLOY MDSCAN
"""
import copy
import json
import pathlib
import re
import subprocess
import sys
import unittest

try:
    import jsonschema
    import yaml
except ImportError as missing:
    print(f"skipped: {missing.name} is not installed")
    sys.exit(77)

DEPLOY, MDSCAN = pathlib.Path(sys.argv[1]), sys.argv[2]
HERE = pathlib.Path(__file__).parent
SCHEMA = json.loads((HERE / "job.schema.json").read_text())
JOB = yaml.safe_load((DEPLOY / "mdscan-worker.yaml").read_text())


def container(job):
    return job["spec"]["template"]["spec"]["containers"][0]


class Manifest(unittest.TestCase):
    def check(self, job):
        jsonschema.Draft7Validator(SCHEMA).validate(job)

    def test_is_a_job(self):
        self.check(JOB)

    def test_faults_are_noticed(self):
        def misspell(job):
            job["spec"]["paralellism"] = job["spec"].pop("parallelism")

        def restart(job):
            job["spec"]["template"]["spec"]["restartPolicy"] = "OnFailure"  # not with a podFailurePolicy

        def number(job):
            container(job)["args"][4] = 2

        def tell(job):
            container(job)["env"][1] = {"name": "PGPASSWORD", "value": "secret"}

        def write(job):
            container(job)["securityContext"]["readOnlyRootFilesystem"] = False

        for spoil in (misspell, restart, number, tell, write):
            job = copy.deepcopy(JOB)
            spoil(job)
            with self.subTest(spoil.__name__), self.assertRaises(jsonschema.ValidationError):
                self.check(job)

    def test_fits_together(self):
        pod = JOB["spec"]["template"]["spec"]
        self.assertEqual({mount["name"] for mount in container(JOB)["volumeMounts"]},
                         {one["name"] for one in pod["volumes"]})
        for rule in JOB["spec"]["podFailurePolicy"]["rules"]:
            if "onExitCodes" in rule:
                self.assertEqual(rule["onExitCodes"]["containerName"], container(JOB)["name"])

    def test_arguments_are_understood(self):
        # The words are right when the address is what is wrong: where it is right, a worker waits for the server.
        told = subprocess.run([MDSCAN, *[one.replace("=/recordings", "=/tmp") for one in container(JOB)["args"]]],
                              env={"MDSCAN_AT": "nonsense=1"},
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60)
        if "was built without PostgreSQL" in told.stderr:
            self.skipTest("mdscan was built without PostgreSQL")
        self.assertIn("the address of the database", told.stderr)


class Dockerfile(unittest.TestCase):
    def test_has_no_secret_and_no_superuser(self):
        text = (DEPLOY / "Dockerfile").read_text()
        steps = re.findall(r"^([A-Z]+) (.*)", text, re.M)
        self.assertEqual([word for word, _ in steps], ["FROM", "RUN", "USER", "WORKDIR", "STOPSIGNAL", "ENTRYPOINT", "CMD"])
        self.assertEqual(dict(steps)["USER"], "65534:65534")
        self.assertEqual(json.loads(dict(steps)["ENTRYPOINT"]), ["/usr/bin/mdscan"])
        self.assertNotRegex(re.sub(r"(?m)^#.*", "", text), r"(?i)password|pgpass|secret")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
