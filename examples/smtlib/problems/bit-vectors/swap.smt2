; Do three exclusive ors swap two words?
(set-logic QF_BV)
(declare-const x (_ BitVec 64))
(declare-const y (_ BitVec 64))
(define-fun x1 () (_ BitVec 64) (bvxor x y))
(define-fun y2 () (_ BitVec 64) (bvxor x1 y))
(define-fun x3 () (_ BitVec 64) (bvxor x1 y2))
(assert (not (and (= x3 y) (= y2 x))))
(check-sat)
