#!/bin/sh
# Tells Snakemake how job $1 is doing: running, success or failed.
# While the controller does not answer, a job counts as running. An interrupt is for Snakemake, which then cancels the job.
trap '' INT TERM
if answer=$(scontrol --oneliner show job "${1%%;*}" 2>&1); then
  state=${answer#*JobState=}
  case ${state%% *} in
    COMPLETED) echo success ;;
    BOOT_FAIL | CANCELLED | DEADLINE | FAILED | NODE_FAIL | OUT_OF_MEMORY | PREEMPTED | REVOKED | SPECIAL_EXIT | TIMEOUT)
      echo failed
      ;;
    *) echo running ;;
  esac
else
  # The controller forgets a job some minutes after its end. Snakemake then looks whether the result exists.
  case $answer in
    *"Invalid job id"*) echo success ;;
    *) echo running ;;
  esac
fi
