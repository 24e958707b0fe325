// How do tables make sure that a result is kept once, whoever dies when?
//
// Workers have no rights on tables. They call functions, which look who calls: a role can take jobs, give back and keep what
// it took, and nothing else. All times are those of the server.
#include "farm/FarmSchema.h"

#include "video/base/Failure.h"

namespace Scan {

namespace {

// A job's state: open, taken, done, failed; none: there is nothing to scan.
// A worker's lease: until when it is believed to live. Its jobs are those of its row.
constexpr const char* jobsAndResults = R"sql(
CREATE TABLE mdscan.farms (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    name text NOT NULL UNIQUE,
    version text NOT NULL,
    head text NOT NULL,
    lease interval NOT NULL,
    created timestamptz NOT NULL DEFAULT now());

CREATE TABLE mdscan.workers (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    farm bigint NOT NULL REFERENCES mdscan.farms ON DELETE CASCADE,
    role name NOT NULL DEFAULT session_user,
    name text NOT NULL,
    slots integer NOT NULL,
    since timestamptz NOT NULL DEFAULT clock_timestamp(),
    lease timestamptz NOT NULL);

CREATE TABLE mdscan.jobs (
    farm bigint NOT NULL REFERENCES mdscan.farms ON DELETE CASCADE,
    number integer NOT NULL,
    key text NOT NULL,
    file text NOT NULL,
    camera text NOT NULL,
    line text NOT NULL,
    state text NOT NULL CHECK (state IN ('open', 'taken', 'done', 'failed', 'none')),
    worker bigint,
    taken timestamptz,
    done timestamptz,
    deaths integer NOT NULL DEFAULT 0,
    reason text,
    PRIMARY KEY (farm, number));
CREATE INDEX ON mdscan.jobs (farm, number) WHERE state = 'open';
CREATE INDEX ON mdscan.jobs (worker) WHERE state = 'taken';
CREATE INDEX ON mdscan.jobs (key);

CREATE TABLE mdscan.results (
    key text PRIMARY KEY,
    line bytea NOT NULL,
    kept timestamptz NOT NULL DEFAULT clock_timestamp(),
    role name NOT NULL DEFAULT session_user,
    worker text NOT NULL);

CREATE FUNCTION mdscan.wake(its_farm bigint, why text) RETURNS void LANGUAGE sql AS
$$ SELECT pg_notify('mdscan_' || its_farm, why) $$;

-- Whoever said nothing for longer than his lease is dead. After a restart of the server, all get a lease to come back.
CREATE FUNCTION mdscan.bury(its_farm bigint) RETURNS void LANGUAGE plpgsql AS $$
DECLARE
    dead record;
BEGIN
    IF pg_postmaster_start_time() > clock_timestamp() - (SELECT lease FROM mdscan.farms WHERE id = its_farm) THEN
        RETURN;
    END IF;
    FOR dead IN
        SELECT id FROM mdscan.workers WHERE farm = its_farm AND lease < clock_timestamp() FOR UPDATE SKIP LOCKED
    LOOP
        UPDATE mdscan.jobs SET state = CASE WHEN deaths + 1 < 3 THEN 'open' ELSE 'failed' END, deaths = deaths + 1,
            worker = NULL, reason = 'its worker ended without a word' WHERE worker = dead.id AND state = 'taken';
        DELETE FROM mdscan.workers WHERE id = dead.id;
        PERFORM mdscan.wake(its_farm, 'dead');
    END LOOP;
END $$;

-- The farm of that name; without one, the only farm there is.
CREATE FUNCTION mdscan.farm_named(farm_name text) RETURNS mdscan.farms LANGUAGE plpgsql AS $$
DECLARE
    found mdscan.farms;
    names text;
BEGIN
    SELECT string_agg(name, ', ' ORDER BY name) INTO names FROM mdscan.farms;
    IF farm_name IS NULL AND (SELECT count(*) FROM mdscan.farms) > 1 THEN
        RAISE EXCEPTION USING ERRCODE = 'MD001', MESSAGE = 'which farm?  There are ' || names;
    END IF;
    SELECT * INTO found FROM mdscan.farms WHERE farm_name IS NULL OR name = farm_name;
    IF found.id IS NULL THEN
        RAISE EXCEPTION USING ERRCODE = 'MD001',
            MESSAGE = concat('there is no farm ' || farm_name, CASE WHEN farm_name IS NULL THEN 'there is no farm' END,
                             '; there are ' || names);
    END IF;
    RETURN found;
END $$;

CREATE FUNCTION mdscan.join_farm(farm_name text, its_version text, worker_name text, its_slots integer)
RETURNS TABLE (worker text, farm text, name text, head text, lease text)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    found mdscan.farms := mdscan.farm_named(farm_name);
BEGIN
    IF found.version <> its_version THEN
        RAISE EXCEPTION USING ERRCODE = 'MD002',
            MESSAGE = found.name || ' was planned by another version of mdscan: ' || split_part(found.version, E'\n', 1);
    END IF;
    PERFORM mdscan.bury(found.id);
    RETURN QUERY INSERT INTO mdscan.workers AS w (farm, name, slots, lease)
        VALUES (found.id, worker_name, its_slots, clock_timestamp() + found.lease)
        RETURNING w.id::text, found.id::text, found.name, found.head, extract(epoch FROM found.lease)::text;
END $$;

-- The farm of a worker that the caller is. MD003: it has been taken for dead, or its farm is gone.
CREATE FUNCTION mdscan.farm_of(its_worker bigint) RETURNS bigint LANGUAGE plpgsql AS $$
DECLARE
    its_farm bigint;
BEGIN
    SELECT farm INTO its_farm FROM mdscan.workers WHERE id = its_worker AND role = session_user;
    IF its_farm IS NULL THEN
        RAISE EXCEPTION USING ERRCODE = 'MD003', MESSAGE = 'this worker is not known any more';
    END IF;
    RETURN its_farm;
END $$;

-- A taking that is lost with the server's power is one that has not been: nobody waits for the disk. What is asked for
-- each job, here and below, is asked of the index of open jobs, which shrinks: planned while nearly all are open, it would
-- be asked of the table, from whose beginning on more and more are done.
CREATE FUNCTION mdscan.take_job(its_worker bigint, refused integer[]) RETURNS TABLE (number text, line text)
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp SET enable_seqscan = off AS $$
DECLARE
    its_farm bigint := mdscan.farm_of(its_worker);
BEGIN
    PERFORM set_config('synchronous_commit', 'off', true);
    RETURN QUERY UPDATE mdscan.jobs j SET state = 'taken', worker = its_worker, taken = clock_timestamp()
        WHERE j.farm = its_farm AND j.number = (
            SELECT o.number FROM mdscan.jobs o WHERE o.farm = its_farm AND o.state = 'open' AND o.number <> ALL (refused)
            ORDER BY o.number LIMIT 1 FOR UPDATE SKIP LOCKED)
        RETURNING j.number::text, j.line;
END $$;

-- Is there, or may there be, anything for this worker?
CREATE FUNCTION mdscan.is_over(its_worker bigint, refused integer[]) RETURNS text
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp SET enable_seqscan = off AS $$
DECLARE
    its_farm bigint := mdscan.farm_of(its_worker);
BEGIN
    RETURN CASE WHEN EXISTS (SELECT FROM mdscan.jobs WHERE farm = its_farm AND state = 'open' AND number <> ALL (refused))
        OR EXISTS (SELECT FROM mdscan.jobs j JOIN mdscan.workers w ON w.id = j.worker
                   WHERE w.farm = its_farm AND j.state = 'taken' AND j.number <> ALL (refused)) THEN 'no' ELSE 'yes' END;
END $$;

CREATE FUNCTION mdscan.count_jobs(its_worker bigint) RETURNS TABLE (planned text, done text)
LANGUAGE sql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
    SELECT count(*) FILTER (WHERE state <> 'none')::text, count(*) FILTER (WHERE state = 'done')::text
    FROM mdscan.jobs WHERE farm = mdscan.farm_of(its_worker) $$;

-- The worker lives. held: what it works on; whatever else is its own got lost on the way to it.
CREATE FUNCTION mdscan.beat(its_worker bigint, held integer[]) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    its_farm bigint := mdscan.farm_of(its_worker);
BEGIN
    PERFORM set_config('synchronous_commit', 'off', true);
    UPDATE mdscan.workers w SET lease = clock_timestamp() + f.lease FROM mdscan.farms f
        WHERE w.id = its_worker AND f.id = w.farm;
    UPDATE mdscan.jobs SET state = 'open', worker = NULL
        WHERE worker = its_worker AND state = 'taken' AND number <> ALL (held);
    IF FOUND THEN
        PERFORM mdscan.wake(its_farm, 'back');
    END IF;
    PERFORM mdscan.bury(its_farm);
END $$;

CREATE FUNCTION mdscan.give_back(its_worker bigint, its_number integer, why text, died boolean) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    its_farm bigint := mdscan.farm_of(its_worker);
BEGIN
    UPDATE mdscan.jobs SET state = CASE WHEN died AND deaths + 1 >= 3 THEN 'failed' ELSE 'open' END, worker = NULL,
        deaths = deaths + died::integer, reason = coalesce(why, reason)
        WHERE farm = its_farm AND number = its_number AND worker = its_worker AND state = 'taken';
    PERFORM mdscan.wake(its_farm, 'back');
END $$;

-- Result and "done" are there together or not at all. Whoever comes second has found the same. The last one wakes those
-- who wait for the end. Where none is open any more, one after the other commits: of two that are last at once, neither
-- would see the other.
CREATE FUNCTION mdscan.keep_result(worker_name text, its_key text, its_line bytea) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp SET enable_seqscan = off AS $$
DECLARE
    its_farm bigint;
BEGIN
    IF NOT EXISTS (SELECT FROM mdscan.jobs WHERE key = its_key) THEN
        RAISE EXCEPTION USING ERRCODE = 'MD001', MESSAGE = 'the farm has been dropped';
    END IF;
    INSERT INTO mdscan.results (key, line, worker) VALUES (its_key, its_line, worker_name) ON CONFLICT (key) DO NOTHING;
    FOR its_farm IN UPDATE mdscan.jobs SET state = 'done', done = clock_timestamp(), worker = NULL, reason = NULL
        WHERE key = its_key AND state <> 'done' RETURNING farm
    LOOP
        IF NOT EXISTS (SELECT FROM mdscan.jobs WHERE farm = its_farm AND state = 'open') THEN
            PERFORM pg_advisory_xact_lock(7236283, its_farm::integer);
            IF NOT EXISTS (SELECT FROM mdscan.jobs j JOIN mdscan.workers w ON w.id = j.worker
                           WHERE w.farm = its_farm AND j.state = 'taken') THEN
                PERFORM mdscan.wake(its_farm, 'kept');
            END IF;
        END IF;
    END LOOP;
END $$;

CREATE FUNCTION mdscan.leave_farm(its_worker bigint) RETURNS void
LANGUAGE plpgsql SECURITY DEFINER SET search_path = pg_catalog, pg_temp AS $$
DECLARE
    its_farm bigint := mdscan.farm_of(its_worker);
BEGIN
    UPDATE mdscan.jobs SET state = 'open', worker = NULL WHERE worker = its_worker AND state = 'taken';
    IF FOUND THEN
        PERFORM mdscan.wake(its_farm, 'back');
    END IF;
    DELETE FROM mdscan.workers WHERE id = its_worker;
END $$;

CREATE FUNCTION mdscan.admit(role name) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    EXECUTE format('GRANT USAGE ON SCHEMA mdscan TO %I', role);
    EXECUTE format('GRANT SELECT ON mdscan.steps TO %I', role);
    EXECUTE format('GRANT EXECUTE ON FUNCTION mdscan.join_farm, mdscan.take_job, mdscan.is_over, mdscan.count_jobs,
        mdscan.beat, mdscan.give_back, mdscan.keep_result, mdscan.leave_farm TO %I', role);
END $$;

REVOKE ALL ON ALL FUNCTIONS IN SCHEMA mdscan FROM PUBLIC;
)sql";

// Of the result's line, nine characters are its checksum. Results are the truth, rows a courtesy: a line that cannot be read
// stays, without rows.
constexpr const char* eventsAsRows = R"sql(
CREATE TABLE mdscan.event_rows (
    key text NOT NULL REFERENCES mdscan.results ON DELETE CASCADE,
    event integer NOT NULL,
    start double precision NOT NULL,
    "end" double precision NOT NULL,
    peak double precision NOT NULL,
    start_time timestamptz,
    end_time timestamptz,
    zones text[],
    boxes jsonb NOT NULL,
    blocks integer NOT NULL,
    flash boolean NOT NULL,
    PRIMARY KEY (key, event));
CREATE INDEX ON mdscan.event_rows (start_time);

CREATE FUNCTION mdscan.tell_events(its_key text, its_line bytea) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO mdscan.event_rows
    SELECT its_key, (e ->> 'event')::integer, (e ->> 'start')::double precision, (e ->> 'end')::double precision,
           (e ->> 'peak')::double precision, (e ->> 'start_time')::timestamptz, (e ->> 'end_time')::timestamptz,
           CASE WHEN e ? 'zones' THEN ARRAY (SELECT jsonb_array_elements_text(e -> 'zones')) END,
           e -> 'boxes', (e ->> 'blocks')::integer, coalesce((e ->> 'flash')::boolean, false)
    FROM json_array_elements_text(substr(convert_from(its_line, 'UTF8'), 10)::json -> 'lines') AS told (record),
         LATERAL (SELECT told.record::jsonb AS e) AS one
    WHERE e ->> 'type' = 'event';
EXCEPTION WHEN data_exception THEN
    RAISE WARNING 'the events of % are no rows: %', its_key, SQLERRM;
END $$;

CREATE FUNCTION mdscan.tell_result() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
    PERFORM mdscan.tell_events(NEW.key, NEW.line);
    RETURN NULL;
END $$;
CREATE TRIGGER tell_events AFTER INSERT ON mdscan.results FOR EACH ROW EXECUTE FUNCTION mdscan.tell_result();

CREATE VIEW mdscan.events AS
SELECT f.name AS farm, j.camera, j.file, e.event, e.start, e."end", e.start_time, e.end_time, e.peak, e.zones, e.boxes,
       e.blocks, e.flash
FROM mdscan.event_rows e JOIN mdscan.jobs j USING (key) JOIN mdscan.farms f ON f.id = j.farm;

SELECT mdscan.tell_events(key, line) FROM mdscan.results;
REVOKE ALL ON FUNCTION mdscan.tell_events, mdscan.tell_result FROM PUBLIC;
)sql";

// The lock is what two who create a farm at once wait for: any number that others do not use.
constexpr const char* before = R"sql(
DO $all$ BEGIN
    PERFORM pg_advisory_xact_lock(7236283);
    IF to_regclass('mdscan.steps') IS NULL THEN
        CREATE SCHEMA IF NOT EXISTS mdscan;
        CREATE TABLE mdscan.steps (step integer PRIMARY KEY, done timestamptz NOT NULL DEFAULT now());
    END IF;
)sql";

std::size_t StepOf(Database& database) {
    const bool isThere = database.Ask("SELECT to_regclass('mdscan.steps')::text")[0][0].has_value();
    const Database::Rows rows = isThere ? database.Ask("SELECT max(step)::text FROM mdscan.steps") : Database::Rows();
    return rows.empty() || !rows[0][0] ? 0 : std::stoul(*rows[0][0]);
}

void RefuseNewer(std::size_t step) {
    if (step > SchemaSteps().size()) {
        throw Video::Failure(Video::Concern::Usage, "the database was set up by a newer mdscan");
    }
}

}  // namespace

const std::vector<std::string>& SchemaSteps() {
    static const std::vector<std::string> steps = {jobsAndResults, eventsAsRows};
    return steps;
}

void Migrate(Database& database, std::size_t step) {
    if (database.Ask(
            "SELECT pg_encoding_to_char(encoding)::text FROM pg_database WHERE datname = current_database()")[0][0] !=
        "UTF8") {
        throw Video::Failure(Video::Concern::Usage, "the database must have the encoding UTF8");
    }
    RefuseNewer(StepOf(database));
    std::string all = before;  // one statement: all of it is done, or nothing
    for (std::size_t next = 1; next <= step; ++next) {
        const std::string number = std::to_string(next);
        all += "IF NOT EXISTS (SELECT FROM mdscan.steps WHERE step = " + number + ") THEN EXECUTE $step$" +
               SchemaSteps()[next - 1] + "$step$; INSERT INTO mdscan.steps (step) VALUES (" + number + "); END IF;\n";
    }
    database.Ask((all + "END $all$").c_str());
}

void ExpectSchema(Database& database) {
    const std::size_t step = StepOf(database);
    RefuseNewer(step);
    if (step < SchemaSteps().size()) {
        throw Video::Failure(Video::Concern::Usage, step == 0
                                                        ? "there is no farm in this database: mdscan farm create makes one"
                                                        : "the database was set up by an older mdscan: mdscan farm "
                                                          "create of this one brings it up to date");
    }
}

}  // namespace Scan
